#include "kesprint.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kes::cli {
namespace {

namespace fs = std::filesystem;

class Kesprint : public ::testing::Test {
protected:
    Kesprint() : dir_(fs::temp_directory_path() / ("kesprint-" + std::to_string(::getpid()))) { fs::create_directories(dir_); }
    ~Kesprint() override { fs::remove_all(dir_); }

    std::u16string file(const std::string& name, std::string_view bytes) {
        const std::string path = (dir_ / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return std::u16string(path.begin(), path.end());
    }
    int run(std::vector<std::u16string> args) {
        output = {};
        return cli::run(args, output);
    }

    Output output;
    fs::path dir_;
};

TEST_F(Kesprint, PrintsThePayloadOfASessionExactly) {
    const std::u16string csv = file("rows.csv", "\xE5\x93\x81\xE5\x90\x8D,n\n\xE8\x9E\xBA\xE4\xB8\x9D,12\n,\n3,4\n");
    EXPECT_EQ(run({u"print-page", u"--fields", u"[\"a\",\"b\"]", csv}), 0);
    EXPECT_EQ(output.out, "[{\"\xE5\x93\x81\xE5\x90\x8D\":\"\xE8\x9E\xBA\xE4\xB8\x9D\",\"n\":\"12\"}]");
    EXPECT_EQ(run({u"print-row", u"3", u"--fields", u"[\"a\",\"b\"]", csv}), 0);
    EXPECT_EQ(output.out, "[{\"\xE5\x93\x81\xE5\x90\x8D\":\"3\",\"n\":\"4\"}]");
    EXPECT_EQ(run({u"print-row", u"0", u"--fields", u"[\"a\"]"}), 3);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "\xE8\xAF\xB7\xE9\x80\x89\xE6\x8B\xA9\xE9\x9D\x9E\xE6\xA0\x87\xE9\xA2\x98\xE7\x9A\x84\xE8\xA1\x8C\xE8\xAE\xB0\xE5\xBD\x95\xE6\x89\x93\xE5\x8D\xB0\xEF\xBC\x81\n");
    EXPECT_EQ(run({u"print-page", u"--fields", u"[]"}), 0);
    EXPECT_EQ(output.out, "") << "the [] list sends nothing";
}

TEST_F(Kesprint, ListsCellsAsEscapedJsonAndConverts) {
    const std::u16string csv = file("cells.csv", "x\"\\\xF0\x9F\x98\x80,2026-11-22,TRUE\n");
    EXPECT_EQ(run({u"cells", csv}), 0);
    EXPECT_EQ(output.out,
              "{\"sheet\":0,\"name\":\"Sheet1\",\"row\":0,\"col\":0,\"type\":\"string\",\"value\":\"x\\\"\\\\\xF0\x9F\x98\x80\",\"text\":\"x\\\"\\\\\xF0\x9F\x98\x80\"}\n"
              "{\"sheet\":0,\"name\":\"Sheet1\",\"row\":0,\"col\":1,\"type\":\"datetime\",\"value\":46348,\"text\":\"2026/11/22\"}\n"
              "{\"sheet\":0,\"name\":\"Sheet1\",\"row\":0,\"col\":2,\"type\":\"boolean\",\"value\":true,\"text\":\"TRUE\"}\n");
    const std::string listed = output.out;
    const std::string bin = (dir_ / "cells.bin").string();
    EXPECT_EQ(run({u"convert", csv, std::u16string(bin.begin(), bin.end())}), 0);
    EXPECT_EQ(run({u"cells", std::u16string(bin.begin(), bin.end())}), 0);
    EXPECT_EQ(output.out, listed);
}

TEST_F(Kesprint, ReportsErrorsOnOneLineNamingTheFile) {
    EXPECT_EQ(run({u"cells", u"/nonexistent/book.xlsx"}), 2);
    EXPECT_EQ(output.err.rfind("kesprint: /nonexistent/book.xlsx: Cannot open file", 0), 0u) << output.err;
    const std::u16string text = file("notes.txt", "hello");
    EXPECT_EQ(run({u"cells", text}), 2);
    EXPECT_NE(output.err.find("Unsupported document format"), std::string::npos);
    EXPECT_EQ(run({u"frobnicate"}), 2);
    EXPECT_EQ(run({u"format", u"@", u"007"}), 0);
    EXPECT_EQ(output.out, "007\n");
}

}  // namespace
}  // namespace kes::cli
