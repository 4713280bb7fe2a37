#include "records/record_table.h"

#include <gtest/gtest.h>

#include "text/utf8.h"

namespace kes {
namespace {

std::u16string repeat(std::u16string_view unit, size_t count) {
    std::u16string out;
    for (size_t i = 0; i < count; ++i) out += unit;
    return out;
}

TEST(RecordTable, CloseAndOpenEmptyIt) {
    RecordTable table = makeTempPrintTable();
    table.Open();
    for (int i = 0; i < 3; ++i) {
        table.Append();
        table.FieldByName(u"FID").SetAsString(u"id");
        table.Post();
    }
    EXPECT_EQ(table.recordCount(), 3u);
    table.Close();
    table.Open();
    table.First();
    EXPECT_TRUE(table.Eof());
    EXPECT_EQ(table.recordCount(), 0u);
}

// Whatever state Close finds the table in, the next print command starts from nothing: Open,
// Edit, a write and Post give exactly the one new record.
TEST(RecordTable, CloseFreesRecordsInAnyState) {
    struct Case {
        const char* name;
        void (*before)(RecordTable&);
    };
    const Case cases[] = {
        {"browsing", [](RecordTable&) {}},
        {"untouched edit", [](RecordTable& t) { t.Edit(); }},
        {"changed edit", [](RecordTable& t) { t.Edit(), t.FieldByName(u"FJson").SetAsString(u"edited"); }},
        {"untouched append", [](RecordTable& t) { t.Append(); }},
        {"changed append", [](RecordTable& t) { t.Append(), t.FieldByName(u"FJson").SetAsString(u"appended"); }},
        {"closed", [](RecordTable& t) { t.Close(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RecordTable table = makeTempPrintTable();
        table.Open();
        for (int i = 0; i < 70000; ++i) {   // more than one chunk of values
            table.Append();
            table.FieldByName(u"FJson").SetAsString(u"old");
            table.Post();
        }
        c.before(table);
        table.Close();
        table.Open();
        table.Edit();
        table.FieldByName(u"FID").SetAsString(u"new");
        table.Post();
        ASSERT_EQ(table.recordCount(), 1u);
        table.First();
        EXPECT_EQ(table.FieldByName(u"FID").AsString(), u"new");
        EXPECT_EQ(table.FieldByName(u"FJson").AsString(), u"");
        table.Next();
        EXPECT_TRUE(table.Eof());
    }
}

TEST(RecordTable, EditOnEmptyTableThenAppendLeavesOneRecord) {
    RecordTable table = makeTempPrintTable();
    table.Open();
    table.Edit();
    table.Append();
    table.FieldByName(u"FJson").SetAsString(u"{}");
    table.Post();
    EXPECT_EQ(table.recordCount(), 1u);

    table.Edit();   // an untouched edit is dropped by the next append
    table.Append();
    table.FieldByName(u"FJson").SetAsString(u"{\"a\":\"1\"}");
    table.Post();
    std::vector<std::u16string> seen;
    for (table.First(); !table.Eof(); table.Next()) seen.push_back(table.FieldByName(u"FJson").AsString());
    EXPECT_EQ(seen, (std::vector<std::u16string>{u"{}", u"{\"a\":\"1\"}"}));
}

TEST(RecordTable, FieldsKeepAtMostTheirSizeInCodePageBytes) {
    struct Case { const char16_t* field; std::u16string written; std::u16string read; };
    const std::u16string zhong = u"\u4E2D";   // two bytes in GBK
    const std::u16string label = u"{\"SKU\":\"SKU-000123\",\"\u54C1\u540D\":\"\u87BA\u4E1D M6\u00D78\"}";
    const Case cases[] = {
        {u"FID", repeat(u"a", 60), repeat(u"a", 50)},
        {u"FID", repeat(zhong, 30), repeat(zhong, 25)},
        {u"FID", u"a" + repeat(zhong, 30), u"a" + repeat(zhong, 24) + u"?"},   // the 50th byte splits a character
        {u"FJson", repeat(u"x", 5000), repeat(u"x", 5000)},
        {u"FJson", repeat(u"x", 5001), repeat(u"x", 5000)},
        {u"FJson", repeat(zhong, 2501), repeat(zhong, 2500)},
        {u"FPrinter", std::u16string(u"ab\0cd", 5), u"ab"},                    // cut at an embedded zero
#ifndef _WIN32   // Windows converts through the system's code page, whose choice this is (Wine's: "??x")
        {u"FPrinter", u"\U0001F600x", u"?x"},                                  // no mapping in the code page
#endif
        {u"FJson", label, label},   // ASCII runs and double-byte characters at odd offsets
    };
    for (const Case& c : cases) {
        RecordTable table = makeTempPrintTable();
        table.Open();
        table.Append();
        table.FieldByName(c.field).SetAsString(c.written);
        table.Post();
        table.First();
        EXPECT_EQ(table.FieldByName(c.field).AsString(), c.read) << "field of " << c.written.size() << " units";
        std::string utf8 = "[";
        table.FieldByName(c.field).AppendAsUtf8(utf8);
        EXPECT_EQ(utf8, "[" + toUtf8(c.read)) << "the same text read straight into UTF-8";
    }
}

TEST(RecordTable, IntegersAreStoredAsTextAndUnassignedFieldsReadEmpty) {
    RecordTable table = makeTempPrintTable();
    table.Open();
    table.Append();
    table.FieldByName(u"FLableVer").SetAsInteger(0);
    table.Post();
    table.First();
    EXPECT_EQ(table.FieldByName(u"FLableVer").AsString(), u"0");
    EXPECT_EQ(table.FieldByName(u"FLableCode").AsString(), u"");
}

TEST(RecordTable, RefusesUnknownFieldsAndWritesOutsideEditing) {
    RecordTable table = makeTempPrintTable();
    table.Open();
    try {
        table.FieldByName(u"FLabelCode");
        FAIL() << "a misspelt field must not be found";
    } catch (const EDatabaseError& e) {
        EXPECT_STREQ(e.what(), "Field 'FLabelCode' not found");
    }
    EXPECT_THROW(table.FieldByName(u"FID").SetAsString(u"x"), EDatabaseError);
}

}  // namespace
}  // namespace kes
