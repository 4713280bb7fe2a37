#include "workbook/workbook_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "workbook/native/binary_format.h"
#include "workbook/formats.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

namespace fs = std::filesystem;

class TempDir {
public:
    TempDir() : path_(fs::temp_directory_path() / ("kes-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++))) {
        fs::create_directories(path_);
    }
    ~TempDir() { fs::remove_all(path_); }
    std::u16string file(const std::string& name) const {
        const std::string p = (path_ / name).string();
        return std::u16string(p.begin(), p.end());
    }
    std::string path(const std::string& name) const { return (path_ / name).string(); }
    void write(const std::string& name, std::string_view bytes) const { std::ofstream(path(name), std::ios::binary) << bytes; }

private:
    static inline int counter_ = 0;
    fs::path path_;
};

std::string snapshot(Workbook& book) {
    std::string out;
    SaveToStream(book, out);
    return out;
}

// A workbook with every value kind, styles, widths, row heights, hidden rows and columns, a
// selection, merged areas, two sheets and the 1904 system.
void fill(Workbook& book) {
    SheetTable& first = *book.activeSheet();
    first.createCell(0, 0).setText(u"\u54C1\u540D", 0);
    first.createCell(0, 1).setText(u"=SUM(A1:A2)", 1);
    first.createCell(1, 0).setText(u"6901234567890", 1);
    first.createCell(1, 1).setText(u"\u00A512.5", 1);
    first.createCell(1, 2).setText(u"TRUE", 1);
    first.createCell(1, 3).setText(u"#N/A", 1);
    first.createCell(1, 4).setText(u"2026-11-22 8:30", 1);
    first.createCell(1, 5).setValue(CellValue::makeInteger(-7));
    CellRef styled = first.createCell(5, 16383);
    styled.setStyle(book.styles().add(CellStyle{u"@"}));
    styled.setText(u"007", 1);
    first.createCell(1048575, 0);   // a blank cell at the last row
    CellStyle look;
    look.font = {u"\u5B8B\u4F53", 240, true, true, true, Underline::Double, 0x123456};
    look.pattern = kPatternSolid;
    look.patternColour = 0xFFFF00;
    look.left = {BorderStyle::Thin, kAutoColour};
    look.bottom = {BorderStyle::MediumDashDot, 0x00FF00};
    look.horizontal = HorizontalAlignment::Center;
    look.vertical = VerticalAlignment::Top;
    look.wrap = true;
    look.indent = 3;
    look.rotation = 255;
    first.createCell(2, 2).setStyle(book.styles().add(look));
    book.styles().setDefaultFont({u"Arial", 200});
    first.setColumnWidth(3, 150);
    first.setColumnHidden(4, true);
    first.setRowHeight(2, 44);
    first.setRowHidden(1048574, true);
    first.defaultRowHeight = 18;
    first.selection().selectRange({1, 1, 4, 3}, 2, 2);
    first.zeroValues = TriState::Off;
    first.addMergedArea({0, 0, 11, 0});
    first.addMergedArea({16382, 1048574, 16383, 1048575});
    SheetTable& second = book.addSheet(u"\u7B2C\u4E8C\u9875");
    second.createCell(3, 3).setText(u"x", 0);
    second.addMergedArea({3, 3, 4, 5});
    second.addMergedArea({0, 0, 1, 0});   // the file ends with this one
    book.setActiveSheetIndex(1);
    FormatSettings settings = book.settings();
    settings.date1904 = true;
    book.setSettings(settings);
}

TEST(FormatRegistry, HoldsTheElevenFormatsInOrderAndFindsByExtension) {
    const SpreadSheetFormatsRepository& formats = SpreadSheetFormatsRepository::instance();
    const std::u16string_view exts[] = {u".bin", u".xlsx", u".xltx", u".xls", u".xlt", u".csv",
                                        u".htm", u".html", u".ods", u".txt", u".xml"};
    ASSERT_EQ(formats.count(), std::size(exts));
    for (size_t i = 0; i < formats.count(); ++i) EXPECT_EQ(formats.GetItem(i).GetExt(), exts[i]);
    EXPECT_EQ(formats.GetItem(3).GetDescription(), u"Excel 97-2003 Workbook");
    EXPECT_FALSE(formats.GetItem(5).CanCheckByContent());

    EXPECT_EQ(formats.Find(u"Book.XLSX"), formats.Find(u"book.xlsx"));
    EXPECT_EQ(formats.Find(u"C:\\data\\Label.Csv"), &formats.GetItem(5));
    EXPECT_EQ(formats.Find(u"noextension"), nullptr);
    EXPECT_EQ(formats.Find(u"/tmp/v1.2/noextension"), nullptr);
    EXPECT_EQ(formats.Find(u"archive.zip"), nullptr);
}

TEST(FormatRegistry, CompoundFilesOverOneKilobyteAreTakenForXls) {
    std::string cfb("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    cfb.resize(1024, '\0');
    ByteStream stream{cfb, 0};
    const XLSFormat xls;
    EXPECT_FALSE(xls.CanReadFromStream(stream));
    stream.data.push_back('\0');
    EXPECT_TRUE(xls.CanReadFromStream(stream));
    EXPECT_EQ(stream.position, 0u);
}

TEST(NativeFormat, KeepsEveryKindOfValueAndSetting) {
    Workbook book;
    fill(book);
    const std::string saved = snapshot(book);
    EXPECT_TRUE(hasNativeHeader(saved));

    Workbook loaded;
    ByteStream stream{saved, 0};
    LoadFromStream(loaded, stream);
    EXPECT_EQ(snapshot(loaded), saved);
    EXPECT_EQ(loaded.activeSheetIndex(), 1);
    EXPECT_TRUE(loaded.settings().date1904);
    EXPECT_EQ(loaded.sheet(0).getCell(5, 16383).displayText(), u"007");
    EXPECT_EQ(loaded.sheet(0).getCell(0, 1).dataType(), cdtFormula);
    EXPECT_EQ(loaded.sheet(0).getCell(1, 1).dataType(), cdtCurrency);
    EXPECT_EQ(loaded.sheet(0).mergedAreas(), book.sheet(0).mergedAreas());
    EXPECT_EQ(loaded.sheet(1).mergedAreas(), book.sheet(1).mergedAreas());
    EXPECT_EQ(loaded.styles()[loaded.sheet(0).getCell(2, 2).style()], book.styles()[book.sheet(0).getCell(2, 2).style()]);
    EXPECT_EQ(loaded.styles().defaultFont(), book.styles().defaultFont());
    EXPECT_EQ(loaded.sheet(0).rowHeight(2), 44);
    EXPECT_EQ(loaded.sheet(0).rowHeight(3), 18);
    EXPECT_TRUE(loaded.sheet(0).rowHidden(1048574));
    EXPECT_TRUE(loaded.sheet(0).columnHidden(4));
    EXPECT_FALSE(loaded.history().canUndo());
    EXPECT_FALSE(loaded.modified);
    EXPECT_EQ(loaded.strings().size(), book.strings().size()) << "equal texts share one entry again";
}

// Files of the versions before merged areas: 1 wrote every string in full, 2 each text once.
TEST(NativeFormat, ReadsTheVersionsBeforeMergedAreas) {
    for (uint32_t version : {1u, 2u}) {
        std::string file("KESBOOK\x1A", 8);
        const auto put = [&](auto value) { file.append(reinterpret_cast<const char*>(&value), sizeof value); };
        const auto text = [&](std::u16string_view s) {
            put(uint32_t(s.size()));
            file.append(reinterpret_cast<const char*>(s.data()), s.size() * 2);
        };
        put(version);
        put(uint8_t(0));                           // 1900 dates
        put(uint32_t(1)), text(u"");               // one style, General
        put(uint32_t(1)), put(int32_t(0));         // one sheet, active
        text(u"S"), put(uint8_t(2)), put(uint8_t(0)), put(int32_t(96));
        put(int32_t(0)), put(int32_t(0)), put(uint32_t(0)), put(uint32_t(0));   // focus, areas, widths
        put(uint32_t(1)), put(int32_t(0)), put(uint32_t(2));                    // row 0 with two cells
        for (int32_t column : {0, 1}) {
            put(column), put(uint16_t(0)), put(uint8_t(cdtString)), put(uint8_t(0));
            if (version == 1) {
                text(u"\u87BA\u4E1D");
            } else if (column == 0) {
                put(UINT32_MAX), text(u"\u87BA\u4E1D");   // a new text
            } else {
                put(uint32_t(0));                         // the first text again
            }
        }
        Workbook book;
        ByteStream stream{file, 0};
        LoadFromStream(book, stream);
        EXPECT_EQ(book.sheet(0).getCell(0, 1).displayText(), u"\u87BA\u4E1D") << version;
        EXPECT_EQ(book.strings().size(), 1u) << version;
        EXPECT_TRUE(book.sheet(0).mergedAreas().empty()) << version;
    }
}

// A text is written once and named by its index after that; the reader takes texts into the
// table a row after it reads them. A text named again in its own row, in the next one, rows
// later or on another sheet must find the one entry, each cell holding one reference to it:
// clearing the cells empties the table.
TEST(NativeFormat, TextsNamedAgainAnywhereShareOneEntry) {
    Workbook book;
    SheetTable& first = *book.activeSheet();
    SheetTable& second = book.addSheet(u"B");
    const auto label = [](int32_t n) { return u"\u6807\u7B7E" + std::u16string(1, char16_t(u'A' + n % 26)) + char16_t(u'0' + n / 26); };
    for (int32_t r = 0; r < 200; ++r) {
        first.createCell(r, 0).setString(label(r));
        first.createCell(r, 1).setString(label(r));
        if (r > 0) first.createCell(r, 2).setString(label(r - 1));
        first.createCell(r, 3).setString(label(r * 7 % 200));
        second.createCell(199 - r, 0).setString(label(r));
    }
    const std::string saved = snapshot(book);
    Workbook loaded;
    ByteStream stream{saved, 0};
    LoadFromStream(loaded, stream);
    EXPECT_EQ(snapshot(loaded), saved);
    EXPECT_EQ(loaded.strings().size(), 200u);
    EXPECT_EQ(loaded.sheet(0).getCell(57, 3).displayText(), label(57 * 7 % 200));
    EXPECT_EQ(loaded.sheet(1).getCell(0, 0).displayText(), label(199));

    loaded.history().lock();
    for (int32_t s = 0; s < loaded.sheetCount(); ++s) {
        for (SheetRow* row = loaded.sheet(s).rows().first(); row; row = row->next) {
            for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) CellRef(&loaded.sheet(s), row, cell).clear();
        }
    }
    EXPECT_EQ(loaded.strings().size(), 0u) << "a reference too many was left behind";
}

// The writer writes only areas a sheet took: overlapping ones are damage.
TEST(NativeFormat, OverlappingMergedAreasAreRefused) {
    Workbook source;
    fill(source);
    std::string bad = snapshot(source);
    bad.replace(bad.size() - 16, 16, bad.substr(bad.size() - 32, 16));   // the last area repeats the one before
    Workbook book;
    book.activeSheet()->addMergedArea({1, 1, 2, 2});
    const std::string before = snapshot(book);
    ByteStream stream{bad, 0};
    try {
        LoadFromStream(book, stream, binaryFormat());
        ADD_FAILURE() << "loaded";
    } catch (const ESpreadSheetReaderError& e) {
        EXPECT_NE(std::string(e.what()).find("merged area"), std::string::npos) << e.what();
    }
    EXPECT_EQ(snapshot(book), before);
    EXPECT_EQ(book.activeSheet()->mergedAreas(), (std::vector<CellRect>{{1, 1, 2, 2}}));
}

// Every cut of a snapshot, and a few bytes changed in it, must either load or fail with a
// reader error that leaves the workbook exactly as it was.
TEST(NativeFormat, DamagedSnapshotsFailCleanlyAndRollBack) {
    Workbook source;
    fill(source);
    const std::string good = snapshot(source);

    // What a failed load must leave: cells, merged areas, styles, the default font, row heights.
    const auto prepare = [](Workbook& book) {
        book.activeSheet()->createCell(2, 2).setText(u"keep me", 0);
        book.activeSheet()->addMergedArea({2, 2, 4, 2});
        CellStyle bold;
        bold.font.bold = true;
        book.activeSheet()->getCell(2, 2).setStyle(book.styles().add(bold));
        book.styles().setDefaultFont({u"Tahoma", 180});
        book.activeSheet()->setRowHeight(2, 50);
        book.activeSheet()->setColumnHidden(1, true);
    };
    Workbook book;
    prepare(book);
    const std::string before = snapshot(book);
    for (size_t length = 12; length < good.size(); length += 7) {
        ByteStream stream{good.substr(0, length), 0};
        EXPECT_THROW(LoadFromStream(book, stream, binaryFormat()), ESpreadSheetReaderError) << length;
        ASSERT_EQ(snapshot(book), before) << "a failed load changed the workbook at length " << length;
    }
    for (size_t at = 12; at < good.size(); at += 13) {
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0xFF);
        ByteStream stream{bad, 0};
        Workbook scratch;
        prepare(scratch);
        try {
            LoadFromStream(scratch, stream, binaryFormat());
        } catch (const ESpreadSheetReaderError&) {
            ASSERT_EQ(snapshot(scratch), before) << "a failed load changed the workbook, byte " << at;
        }
    }
}

TEST(WorkbookFiles, ContentChoosesTheFormatAndUnknownContentIsRefused) {
    TempDir dir;
    Workbook source;
    fill(source);
    dir.write("native.xls", snapshot(source));       // the extension is overruled by the content
    dir.write("notes.txt", "just some text\n");
    dir.write("noextension", snapshot(source));

    Workbook book;
    LoadFromFile(book, dir.file("native.xls"));
    EXPECT_EQ(book.sheetCount(), 2);
    LoadFromFile(book, dir.file("noextension"));
    EXPECT_EQ(book.sheetCount(), 2);

    book.activeSheet()->getCell(3, 3).setText(u"changed", 0);
    const std::string before = snapshot(book);
    try {
        LoadFromFile(book, dir.file("notes.txt"));
        FAIL() << "plain text is no workbook";
    } catch (const ESpreadSheetFormatError& e) {
        EXPECT_STREQ(e.what(), "Unsupported document format");
    }
    EXPECT_EQ(snapshot(book), before);
    EXPECT_THROW(LoadFromFile(book, dir.file("missing.xlsx")), EFileError);
    EXPECT_EQ(snapshot(book), before);
}

TEST(WorkbookFiles, SavingNeedsAKnownExtensionAndAWriter) {
    TempDir dir;
    Workbook book;
    book.activeSheet()->createCell(0, 0).setText(u"x", 0);
    ASSERT_TRUE(book.modified);
    EXPECT_THROW(SaveToFile(book, dir.file("label")), ESpreadSheetFormatError);
    EXPECT_FALSE(fs::exists(dir.path("label")));
    EXPECT_THROW(SaveToFile(book, dir.file("label.ods")), ESpreadSheetFormatError);
    ASSERT_TRUE(fs::exists(dir.path("label.ods")));
    EXPECT_EQ(fs::file_size(dir.path("label.ods")), 0u);
    SaveToFile(book, dir.file("label.bin"));
    EXPECT_TRUE(book.modified) << "saving leaves the modified flag";
    LoadFromFile(book, dir.file("label.bin"));
    EXPECT_FALSE(book.modified);
    EXPECT_EQ(book.activeSheet()->getCell(0, 0).displayText(), u"x");
}

TEST(CsvFormat, ReadsUtf8Gbk16AndQuotedFields) {
    struct Case { std::string bytes; std::vector<std::vector<std::u16string>> cells; };
    const Case cases[] = {
        {"\xEF\xBB\xBF\xE5\x93\x81\xE5\x90\x8D,qty\r\n\xE8\x9E\xBA\xE4\xB8\x9D,12\r\n",
         {{u"\u54C1\u540D", u"qty"}, {u"\u87BA\u4E1D", u"12"}}},
        {"\xC6\xB7\xC3\xFB,\"a,b\"\n\"line1\nline2\",\"say \"\"hi\"\"\"\n",   // GBK without a byte order mark
         {{u"\u54C1\u540D", u"a,b"}, {u"line1\nline2", u"say \"hi\""}}},
        {std::string("\xFF\xFE" "a\0,\0" "1\0", 8), {{u"a", u"1"}}},
        {"007,2026-11-22\n", {{u"7", u"2026/11/22"}}},
    };
    TempDir dir;
    for (const Case& c : cases) {
        dir.write("in.csv", c.bytes);
        Workbook book;
        LoadFromFile(book, dir.file("in.csv"));
        SheetTable& sheet = *book.activeSheet();
        for (size_t r = 0; r < c.cells.size(); ++r) {
            for (size_t col = 0; col < c.cells[r].size(); ++col) {
                const CellRef cell = sheet.getCell(int32_t(r), int32_t(col));
                EXPECT_EQ(cell ? cell.displayText() : u"", c.cells[r][col]) << r << "," << col;
            }
        }
    }
}

TEST(CsvFormat, WritesUtf8WithQuotesWhereNeeded) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setText(u"\u54C1\u540D", 0);
    sheet.createCell(0, 2).setText(u"a,b", 0);
    sheet.createCell(2, 1).setText(u"say \"hi\"", 0);
    std::string out;
    SaveToStream(book, out, SpreadSheetFormatsRepository::instance().Find(u"x.csv"));
    EXPECT_EQ(out, "\xEF\xBB\xBF\xE5\x93\x81\xE5\x90\x8D,,\"a,b\"\r\n\r\n,\"say \"\"hi\"\"\"\r\n");
}

}  // namespace
}  // namespace kes
