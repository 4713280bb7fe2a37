#include "workbook/read_ahead.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace kes {
namespace {

// A source of `total` numbered bytes, given in pieces of odd sizes, that throws after `failAt`.
struct CountingSource {
    size_t total;
    size_t failAt = SIZE_MAX;
    size_t given = 0;
    size_t operator()(char* into, size_t capacity) {
        if (given >= failAt) throw std::runtime_error("damaged at " + std::to_string(given));
        const size_t n = std::min({capacity, total - given, size_t(1 + given % 777)});
        for (size_t i = 0; i < n; ++i) into[i] = char((given + i) % 251);
        given += n;
        return n;
    }
};

std::string readAll(ReadAhead& ahead, size_t piece) {
    std::string out, buffer(piece, '\0');
    while (const size_t n = ahead.read(buffer.data(), piece)) out.append(buffer, 0, n);
    return out;
}

TEST(ReadAhead, GivesTheSourcesBytesInOrderAndItsErrorAfterThem) {
    for (size_t piece : {1, 100, 5000}) {
        ReadAhead ahead(CountingSource{200000}, 4096, 3);
        const std::string bytes = readAll(ahead, piece);
        ASSERT_EQ(bytes.size(), 200000u);
        for (size_t i = 0; i < bytes.size(); i += 997) ASSERT_EQ(bytes[i], char(i % 251)) << i;
        char c;
        EXPECT_EQ(ahead.read(&c, 1), 0u);
    }
    // Every byte the source gave before it threw comes first.
    ReadAhead failing(CountingSource{200000, 50000}, 4096, 3);
    size_t read = 0;
    try {
        char buffer[333];
        while (const size_t n = failing.read(buffer, sizeof buffer)) read += n;
        ADD_FAILURE() << "the error was lost";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(e.what(), "damaged at " + std::to_string(read));
        EXPECT_GE(read, 50000u);
    }
}

// A reader that stops early (its XML was malformed) leaves the thread to stop, not to hang.
TEST(ReadAhead, StopsWhenLeftBeforeTheEnd) {
    for (int i = 0; i < 20; ++i) {
        ReadAhead ahead(CountingSource{SIZE_MAX}, 1024, 2);
        char buffer[10];
        EXPECT_EQ(ahead.read(buffer, sizeof buffer), 1u);
    }
}

}  // namespace
}  // namespace kes
