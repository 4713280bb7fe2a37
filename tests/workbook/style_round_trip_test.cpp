// Cell styles, row heights and hidden rows and columns through every format that keeps them,
// and through Excel's own files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "workbook/formats.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

namespace fs = std::filesystem;

const SpreadSheetFormat& formatFor(std::u16string_view name) { return *SpreadSheetFormatsRepository::instance().Find(name); }

// Looks that a plausible writer or reader bug would change: each font attribute, colours in and
// out of the default palette, every border side, patterns, each alignment field.
std::vector<CellStyle> looks() {
    std::vector<CellStyle> out;
    const auto add = [&](auto change) {
        CellStyle s;
        change(s);
        out.push_back(s);
    };
    add([](CellStyle& s) { s.font.bold = true; });
    add([](CellStyle& s) { s.font.italic = true; s.font.strike = true; });
    add([](CellStyle& s) { s.font.underline = Underline::Double; });
    add([](CellStyle& s) { s.font.underline = Underline::SingleAccounting; });
    add([](CellStyle& s) { s.font.colour = 0xFF0000; });
    add([](CellStyle& s) { s.font.colour = 0x2F5597; });   // not in the default palette
    add([](CellStyle& s) { s.font.name = u"\u5FAE\u8F6F\u96C5\u9ED1"; s.font.size = 320; });
    add([](CellStyle& s) { s.pattern = kPatternSolid; s.patternColour = 0xFFFF00; });
    add([](CellStyle& s) { s.pattern = kPatternSolid; s.patternColour = 0xDDEBF7; });
    add([](CellStyle& s) { s.pattern = 17; s.patternColour = 0x000000; s.backgroundColour = 0xFFFFFF; });
    add([](CellStyle& s) { s.left = {BorderStyle::Thin, kAutoColour}; s.right = {BorderStyle::Medium, 0x0000FF}; });
    add([](CellStyle& s) { s.top = {BorderStyle::Double, 0x00B050}; s.bottom = {BorderStyle::Thick, kAutoColour}; });
    add([](CellStyle& s) { s.bottom = {BorderStyle::Hair, 0x808080}; });
    add([](CellStyle& s) { s.horizontal = HorizontalAlignment::Center; s.vertical = VerticalAlignment::Center; });
    add([](CellStyle& s) { s.horizontal = HorizontalAlignment::Right; s.indent = 2; });
    add([](CellStyle& s) { s.horizontal = HorizontalAlignment::Left; s.indent = 1; s.vertical = VerticalAlignment::Top; });
    add([](CellStyle& s) { s.wrap = true; s.vertical = VerticalAlignment::Justify; });
    add([](CellStyle& s) { s.rotation = 45; s.shrinkToFit = true; });
    add([](CellStyle& s) { s.rotation = 255; });
    add([](CellStyle& s) { s.numberFormat = u"[Red]0.00;[Blue]-0.00"; s.font.bold = true; s.pattern = kPatternSolid; s.patternColour = 0xC6EFCE; });
    return out;
}

Workbook& styledBook(Workbook& book) {
    SheetTable& sheet = *book.activeSheet();
    const std::vector<CellStyle> all = looks();
    for (size_t i = 0; i < all.size(); ++i) {
        CellRef cell = sheet.createCell(int32_t(i), 0);
        cell.setText(u"-12.5", 1);
        cell.setStyle(book.styles().add(all[i]));
        sheet.createCell(int32_t(i), 1).setStyle(cell.style());   // a styled blank
    }
    sheet.setRowHeight(1, 40);
    sheet.setRowHidden(3, true);
    sheet.setRowHeight(30, 60);   // a row with a height and no cell
    sheet.setRowHidden(31, true);
    sheet.setColumnHidden(2, true);
    sheet.setColumnWidth(1, 150);
    return book;
}

Workbook& reload(Workbook& book, Workbook& into, std::u16string_view name) {
    std::string bytes;
    SaveToStream(book, bytes, &formatFor(name));
    ByteStream stream{bytes, 0};
    LoadFromStream(into, stream, formatFor(name));
    return into;
}

TEST(StyleRoundTrip, EveryLookHeightAndHiddenRowComesBackFromEachFormat) {
    for (std::u16string_view name : {u"a.xlsx", u"a.xls", u"a.bin"}) {
        SCOPED_TRACE(std::string(name.begin(), name.end()));
        Workbook book;
        styledBook(book);
        Workbook loaded;
        reload(book, loaded, name);
        SheetTable& sheet = *loaded.activeSheet();
        const std::vector<CellStyle> all = looks();
        for (size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(loaded.styles()[sheet.getCell(int32_t(i), 0).style()], all[i]) << "look " << i;
            ASSERT_TRUE(sheet.getCell(int32_t(i), 1)) << "styled blank " << i;
            EXPECT_EQ(loaded.styles()[sheet.getCell(int32_t(i), 1).style()], all[i]) << "styled blank " << i;
        }
        EXPECT_EQ(loaded.styles().defaultFont(), book.styles().defaultFont());
        EXPECT_EQ(sheet.rowHeight(1), 40);
        EXPECT_EQ(sheet.rowHeight(2), SheetTable::kDefaultRowHeight);
        EXPECT_EQ(sheet.rowHeight(30), 60);
        EXPECT_TRUE(sheet.rowHidden(3));
        EXPECT_TRUE(sheet.rowHidden(31));
        EXPECT_FALSE(sheet.rowHidden(4));
        EXPECT_TRUE(sheet.columnHidden(2));
        EXPECT_FALSE(sheet.columnHidden(1));
        EXPECT_EQ(sheet.columnWidth(1), 150);
    }
}

// A default font of its own (a Chinese Excel's 宋体 11) is the one every plain cell shows.
TEST(StyleRoundTrip, TheDefaultFontTravelsWithTheWorkbook) {
    for (std::u16string_view name : {u"a.xlsx", u"a.xls", u"a.bin"}) {
        Workbook book;
        book.styles().setDefaultFont({u"\u5B8B\u4F53", 220});
        CellStyle bigger;
        bigger.font.size = 360;
        book.activeSheet()->createCell(0, 0).setStyle(book.styles().add(bigger));
        book.activeSheet()->createCell(1, 0).setString(u"plain");
        Workbook loaded;
        reload(book, loaded, name);
        EXPECT_EQ(loaded.styles().defaultFont(), book.styles().defaultFont()) << std::string(name.begin(), name.end());
        EXPECT_EQ(loaded.styles()[loaded.activeSheet()->getCell(0, 0).style()], bigger);
        EXPECT_EQ(loaded.activeSheet()->getCell(1, 0).style(), CellStyles::kDefault);
    }
}

// More colours than a BIFF palette holds: each takes its own entry while there are free ones,
// the rest the nearest.
TEST(StyleRoundTrip, XlsKeepsColoursBeyondTheDefaultPaletteWhileEntriesLast) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    for (int i = 0; i < 70; ++i) {
        CellStyle s;
        s.pattern = kPatternSolid;
        s.patternColour = Rgb(0x010203 * (i + 1) + 0x0A0000);
        sheet.createCell(i, 0).setStyle(book.styles().add(s));
    }
    Workbook loaded;
    reload(book, loaded, u"a.xls");
    int exact = 0;
    for (int i = 0; i < 70; ++i) {
        const CellStyle& s = loaded.styles()[loaded.activeSheet()->getCell(i, 0).style()];
        ASSERT_EQ(s.pattern, kPatternSolid) << i;
        exact += s.patternColour == book.styles()[sheet.getCell(i, 0).style()].patternColour;
    }
    EXPECT_GE(exact, 56);
}

// Excel-made files: what we read, write and read again keeps every cell's style.
TEST(StyleRoundTrip, ExcelMadeFilesKeepTheirStylesThroughOurWriters) {
    const fs::path folder = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "corpus-excel" / "files";
    if (!fs::exists(folder)) GTEST_SKIP() << "no corpus beside the project";
    const char* const files[] = {
        "tidyxl_examples.xlsx", "ironcalc_event_calendar.xlsx", "phpss_colortabs.xlsx",
        "npoi_Forecast.xls", "poi_12843-2.xls",
    };
    int compared = 0;
    for (const char* file : files) {
        const fs::path path = folder / file;
        if (!fs::exists(path)) continue;
        SCOPED_TRACE(file);
        std::ifstream in(path, std::ios::binary);
        std::stringstream bytes;
        bytes << in.rdbuf();
        Workbook original;
        ByteStream stream{bytes.str(), 0};
        LoadFromStream(original, stream);
        const std::u16string target = fs::path(file).extension() == ".xls" ? u"a.xls" : u"a.xlsx";
        Workbook back;
        reload(original, back, target);
        ASSERT_EQ(back.sheetCount(), original.sheetCount());
        EXPECT_EQ(back.styles().defaultFont(), original.styles().defaultFont());
        for (int32_t s = 0; s < original.sheetCount(); ++s) {
            SheetTable& a = original.sheet(s);
            SheetTable& b = back.sheet(s);
            for (SheetRow* row = a.rows().first(); row; row = row->next) {
                if (row->index > 65535) break;
                EXPECT_EQ(b.rowHeight(row->index), a.rowHeight(row->index)) << "row " << row->index;
                EXPECT_EQ(b.rowHidden(row->index), row->hidden) << "row " << row->index;
                for (SheetCell* cell = row->cells.first(); cell && cell->index < 256; cell = cell->next) {
                    const CellRef copy = b.getCell(row->index, cell->index);
                    ASSERT_TRUE(copy) << row->index << "," << cell->index;
                    EXPECT_EQ(back.styles()[copy.style()], original.styles()[cell->style]) << row->index << "," << cell->index;
                    ++compared;
                }
            }
        }
    }
    EXPECT_GT(compared, 100);
}

}  // namespace
}  // namespace kes
