#include <gtest/gtest.h>

#include <chrono>

#include "sheet/sheet_error.h"
#include "sheet/text_to_value.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

std::u16string currentYearText() {
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    const std::string year = std::to_string(static_cast<int>(std::chrono::year_month_day(today).year()));
    return std::u16string(year.begin(), year.end());
}

class CellText : public ::testing::Test {
protected:
    CellRef fresh() { return sheet.createCell(row++, 0); }
    CellRef set(std::u16string_view text, uint8_t flag) {
        CellRef cell = fresh();
        cell.setText(text, flag);
        return cell;
    }

    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    int32_t row = 0;
};

TEST_F(CellText, TypedTextsBecomeTheValueKindTheyReadAs) {
    struct Case {
        std::u16string text;
        uint8_t flag;
        CellDataType type;
        std::u16string asString;
    };
    const Case cases[] = {
        {u"", 0, cdtBlank, u""},
        {u"", 1, cdtBlank, u""},
        {u"12", 0, cdtFloat, u"12"},
        {u"12", 1, cdtFloat, u"12"},
        {u"12.5", 0, cdtFloat, u"12.5"},
        {u" -3.25 ", 0, cdtFloat, u"-3.25"},
        {u"1.5E3", 0, cdtFloat, u"1500"},
        {u".5", 0, cdtFloat, u"0.5"},
        {u"6901234567890", 0, cdtFloat, u"6901234567890"},
        {u"1,234", 0, cdtString, u"1,234"},
        {u"12abc", 1, cdtString, u"12abc"},
        {u"1e", 0, cdtString, u"1e"},
        {u"TRUE", 0, cdtBoolean, u"TRUE"},
        {u"true", 1, cdtBoolean, u"TRUE"},
        {u"False", 0, cdtBoolean, u"FALSE"},
        {u"yes", 0, cdtString, u"yes"},
        {u"#DIV/0!", 0, cdtError, u""},
        {u"#div/0!", 1, cdtError, u""},
        {u"#n/a", 0, cdtError, u""},
        {u"#N/A ", 0, cdtString, u"#N/A "},
        {u"\u00A512.5", 0, cdtCurrency, u"12.5"},
        {u"\u00A51,234.567891", 0, cdtCurrency, u"1234.5679"},
        {u"(\u00A55)", 0, cdtCurrency, u"-5"},
        {u"-\u00A55", 0, cdtCurrency, u"-5"},
        {u"(\u00A5-5)", 0, cdtCurrency, u"-5"},   // wrapped and holding "-": negative once
        {u"\u00A5abc", 0, cdtString, u"\u00A5abc"},
        {u"2026/11/22", 0, cdtDateTime, u"2026/11/22"},
        {u"2026-11-22", 0, cdtDateTime, u"2026/11/22"},
        {u"2026.11.22", 0, cdtString, u"2026.11.22"},
        {u"2026/2/30", 0, cdtString, u"2026/2/30"},
        {u"2026/11/22 8:30", 0, cdtDateTime, u"2026/11/22 8:30:00"},
        {u"8:30", 0, cdtDateTime, u"8:30:00"},
        {u"8:30 PM", 0, cdtDateTime, u"20:30:00"},
        {u"25:00", 0, cdtString, u"25:00"},
        {u"SKU-000123", 0, cdtString, u"SKU-000123"},
        {u"2024-001", 0, cdtString, u"2024-001"},
        {u"\u87BA\u4E1D M6", 1, cdtString, u"\u87BA\u4E1D M6"},
        {u"=1+2", 0, cdtString, u"=1+2"},
        {u"=1+2", 1, cdtFormula, u"3"},
        {u"=SUM(A1:B2)", 1, cdtFormula, u"0"},   // the two cells above are blank
        {u"=1+", 1, cdtString, u"=1+"},
        {u"=", 1, cdtString, u"="},
        {u"12\"", 0, cdtString, u"12\""},
        {u"\"12\"", 1, cdtString, u"\"12\""},
        {u"a=b", 0, cdtString, u"a=b"},
        {u"TRUE=", 0, cdtString, u"TRUE="},
    };
    for (const Case& c : cases) {
        const CellRef cell = set(c.text, c.flag);
        EXPECT_EQ(cell.dataType(), c.type) << "text: " << std::string(c.text.begin(), c.text.end());
        EXPECT_EQ(cell.asString(), c.asString) << "text: " << std::string(c.text.begin(), c.text.end());
    }
}

TEST_F(CellText, DatesWithoutYearFallInTheCurrentYearAndTwoDigitYearsInTheirCentury) {
    EXPECT_EQ(set(u"11/22", 0).asString(), currentYearText() + u"/11/22");
    EXPECT_EQ(set(u"26/1/5", 0).asString(), u"2026/1/5");
    EXPECT_EQ(set(u"99/1/5", 0).asString(), u"1999/1/5");
}

TEST_F(CellText, DateSerialsFollowTheSpreadsheetCalendar) {
    EXPECT_EQ(dateSerial(1900, 1, 1), 1.0);
    EXPECT_EQ(dateSerial(1900, 2, 28), 59.0);
    EXPECT_EQ(dateSerial(1900, 2, 29), 60.0);
    EXPECT_EQ(dateSerial(1900, 3, 1), 61.0);
    EXPECT_EQ(dateSerial(2026, 11, 22), 46348.0);
    EXPECT_EQ(dateSerial(2024, 2, 29), 45351.0);
    EXPECT_FALSE(dateSerial(2023, 2, 29));
    EXPECT_FALSE(dateSerial(1899, 12, 31));
    EXPECT_EQ(set(u"2026/11/22", 0).asFloat(), 46348.0);

    FormatSettings settings = book.settings();
    settings.date1904 = true;
    book.setSettings(settings);
    const CellRef cell = set(u"2026/11/22", 0);
    EXPECT_EQ(cell.asFloat(), 46348.0 - 1462);
    EXPECT_EQ(cell.displayText(), u"2026/11/22");
    const CellRef time = set(u"13:45", 0);   // a time alone counts from 1904 too, and shows as a time
    EXPECT_NEAR(time.asFloat(), 0.572917 - 1462, 1e-6);
    EXPECT_EQ(time.displayText(), u"13:45:00");
}

TEST_F(CellText, DisplayShowsLabelValuesAsTyped) {
    struct Case { std::u16string text; std::u16string display; };
    const Case cases[] = {
        {u"6901234567890", u"6901234567890"},
        {u"123456789012345", u"123456789012345"},
        {u"0.1", u"0.1"},
        {u"2026-11-22", u"2026/11/22"},
        {u"\u00A512.5", u"\u00A512.50"},
        {u"TRUE", u"TRUE"},
        {u"#N/A", u"#N/A"},
        {u"  spaced  ", u"  spaced  "},
        {u"\u4EA7\u54C1\u540D\u79F0", u"\u4EA7\u54C1\u540D\u79F0"},
    };
    for (const Case& c : cases) {
        CellRef cell = set(c.text, 1);
        EXPECT_EQ(cell.displayText(), c.display);
        EXPECT_EQ(cell.displayText(), c.display) << "a second read comes from the cache";
    }
}

TEST_F(CellText, TextFormatKeepsLeadingZerosAndFormulas) {
    const uint16_t text = book.styles().add(CellStyle{u"@"});
    for (std::u16string_view typed : {u"007", u"=1+2", u"TRUE"}) {
        CellRef cell = fresh();
        cell.setStyle(text);
        cell.setText(typed, 1);
        EXPECT_EQ(cell.dataType(), cdtString);
        EXPECT_EQ(cell.displayText(), typed);
    }
    CellRef error = fresh();
    error.setStyle(text);
    error.setText(u"#REF!", 1);
    EXPECT_EQ(error.dataType(), cdtError) << "error words come before the text format";
}

TEST_F(CellText, ZeroValuesHidesZerosButNotFalse) {
    CellRef zero = set(u"0", 0);
    CellRef no = set(u"FALSE", 0);
    EXPECT_EQ(zero.displayText(), u"0");
    sheet.zeroValues = TriState::Off;
    EXPECT_EQ(zero.displayText(), u"");
    EXPECT_EQ(no.displayText(), u"FALSE");
    sheet.zeroValues = TriState::Default;
    book.zeroValues = false;
    EXPECT_EQ(zero.displayText(), u"");
}

TEST_F(CellText, FormulaCellsShowTheirTextWhenFormulasAreShown) {
    CellRef cell = set(u"=B1*2", 1);
    ASSERT_EQ(cell.dataType(), cdtFormula);
    EXPECT_EQ(cell.formulaText(), u"=B1*2");
    EXPECT_EQ(cell.displayText(), u"0");
    sheet.showFormulas = true;
    EXPECT_EQ(cell.displayText(), u"=B1*2");
    EXPECT_EQ(cell.asString(), u"=B1*2");
    sheet.showFormulas = false;
    cell.setShowFormula(ShowFormula::On);
    EXPECT_EQ(cell.displayText(), u"=B1*2");

    book.history().clear();
    book.history().beginAction();
    cell.setText(u"=B1*2", 1);   // the same formula again changes nothing
    book.history().endAction();
    EXPECT_FALSE(book.history().canUndo());
}

TEST_F(CellText, ValueSetterStoresByKindAndReadsStringsAsTyped) {
    struct Case { CellValue value; CellDataType type; std::u16string display; };
    const Case cases[] = {
        {CellValue::makeFloat(6901234567890.0), cdtFloat, u"6901234567890"},
        {CellValue::makeInteger(-42), cdtInteger, u"-42"},
        {CellValue::makeCurrency(125000), cdtCurrency, u"\u00A512.50"},
        {CellValue::makeDateTime(46348.0), cdtDateTime, u"2026/11/22"},
        {CellValue::makeBoolean(false), cdtBoolean, u"FALSE"},
        {CellValue::makeError(ecNA), cdtError, u"#N/A"},
        {CellValue::makeString(u"12"), cdtFloat, u"12"},                // a string goes through set text
        {CellValue::makeString(u"=1+1"), cdtFormula, u"2"},
        {CellValue{}, cdtBlank, u""},
    };
    for (const Case& c : cases) {
        CellRef cell = set(u"old text", 0);
        cell.setValue(c.value);
        EXPECT_EQ(cell.dataType(), c.type);
        EXPECT_EQ(cell.displayText(), c.display);
    }
    EXPECT_EQ(book.strings().size(), 0u) << "replaced texts are released";
}

TEST_F(CellText, CellsOfAnArrayFormulaRefuseNewText) {
    CellRef cell = set(u"5", 0);
    cell.cell()->inArray = true;
    EXPECT_THROW(cell.setText(u"6", 0), ESheetError);
    EXPECT_EQ(cell.asString(), u"5");
    book.suspendArrayCheck = true;
    cell.setText(u"6", 0);
    EXPECT_EQ(cell.asString(), u"6");
}

}  // namespace
}  // namespace kes

namespace kes {
namespace {

// The section that shows a value decides its colour: a formula's result and a text too.
TEST_F(CellText, DisplayColourIsTheColourOfTheSectionShown) {
    const uint16_t signs = book.styles().add(CellStyle{u"[Blue]0.00;[Red]-0.00;0;[Color10]@"});
    const uint16_t plain = book.styles().add(CellStyle{u"0.00"});
    struct Case { std::u16string_view text; uint16_t style; std::optional<uint32_t> colour; };
    const Case cases[] = {
        {u"5", signs, 0x0000FF},
        {u"-5", signs, 0xFF0000},
        {u"0", signs, std::nullopt},
        {u"abc", signs, 0x008000},
        {u"=2-7", signs, 0xFF0000},
        {u"TRUE", signs, std::nullopt},
        {u"-5", plain, std::nullopt},
    };
    for (const Case& c : cases) {
        CellRef cell = fresh();
        cell.setStyle(c.style);
        cell.setText(c.text, 1);
        EXPECT_EQ(cell.displayColour(), c.colour) << std::string(c.text.begin(), c.text.end());
    }
}

}  // namespace
}  // namespace kes
