// Real workbooks from other projects' test suites, with ground truth made by other readers:
// every workbook with truth must load cell-exact (kind and value); every file without truth must
// fail with a clear error, never crash or hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "json_value.h"
#include "text/utf8.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "corpus";

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::u16string wide(const fs::path& p) { return fromUtf8(p.string()); }

// Where the reading rules of the product differ from other readers' on purpose: a cell type
// outside the type table ("d") stores no value, and a package whose main part is a macro
// workbook is not taken for a workbook.
bool storesNoValueByDesign(const test::Json& cell) {
    return cell.array.size() > 4 && !cell.array[4]["iso"].isNull();   // t="d", truth from its ISO text
}
const char* const kRefusedByDesign[] = {"sheetjs_BlankSheetTypes.xlsm"};

// A BIFF2-4 worksheet saved as a bare record stream is no compound file, and the registry takes
// an .xls by its content: such a file is not a known format by the registry's rules, though the
// .xls reader reads it.
bool bareBiffStream(const std::string& bytes) {
    return bytes.size() >= 2 && bytes[0] == '\x09' && (bytes[1] == '\x00' || bytes[1] == '\x02' || bytes[1] == '\x04');
}

// A value compared with one truth cell's kind and value; empty when they agree. A computed number
// agrees to the 15 significant digits Excel keeps; a stored one exactly.
std::string compareValue(const CellValue& v, const std::string& kind, const test::Json& value, bool computed = false) {
    if (kind == "string") {
        if (v.type != cdtString) return "not a string";
        return toUtf8(v.text) == value.string ? "" : "text " + toUtf8(v.text) + " for " + value.string;
    }
    if (kind == "number" || kind == "date") {
        if (!isNumericType(v.type)) return "not a number";
        const double expected = std::strtod(value.string.c_str(), nullptr);
        const double tolerance = computed ? 1e-13 * std::fabs(expected) : 0;
        return std::fabs(v.asFloat() - expected) <= tolerance ? "" : "number " + std::to_string(v.asFloat()) + " for " + value.string;
    }
    if (kind == "bool") {
        if (v.type != cdtBoolean) return "not a boolean";
        return v.boolean == value.boolean ? "" : "wrong boolean";
    }
    if (kind == "error") {
        if (v.type != cdtError) return "not an error";
        return toUtf8(errorText(v.error)) == value.string ? "" : "error " + toUtf8(errorText(v.error));
    }
    return "unknown kind " + kind;
}

// What our cell holds, compared with one truth cell; empty when they agree.
std::string compare(const CellRef& cell, const test::Json& truth) {
    const std::string& kind = truth.array[2].string;
    const test::Json& value = truth.array[3];
    const bool formula = truth.array.size() > 4 && truth.array[4]["formula"].boolean;
    if (!cell) return "missing";
    if (kind == "formula") return cell.dataType() == cdtFormula ? "" : "not a formula";
    // A workbook's formula is kept as a formula (xlsx, and xls where its tokens are read) or by
    // its last result. Where the truth knows no formula (xls), ours must compute the same value.
    if (formula && cell.dataType() == cdtFormula) return "";
    if (cell.dataType() == cdtFormula) {
        const std::string difference = compareValue(cell.formulaResult(), kind, value, true);
        return difference.empty() ? "" : "formula " + toUtf8(cell.formulaText()) + ": " + difference;
    }
    return compareValue(cell.value(), kind, value);
}

TEST(Corpus, WorkbooksLoadCellExactAndBrokenOnesFailCleanly) {
    if (!fs::exists(kCorpus / "MANIFEST.tsv")) GTEST_SKIP() << "no corpus beside the project";
    std::ifstream manifest(kCorpus / "MANIFEST.tsv");
    std::string line;
    std::getline(manifest, line);
    int checked = 0, refused = 0;
    while (std::getline(manifest, line)) {
        const std::string name = line.substr(0, line.find('\t'));
        const fs::path truthFile = kCorpus / "truth" / (name + ".json");
        const test::Json truth = test::JsonParser(readFile(truthFile)).parse();
        Workbook book;
        const std::string bytes = readFile(kCorpus / "files" / name);
        const bool bareStream = bareBiffStream(bytes);
        const bool noTruth = truth["sheets"].isNull();
        try {
            if (bareStream) {
                // Refused by the registry, read by the .xls reader when it is asked to.
                EXPECT_THROW(LoadFromFile(book, wide(kCorpus / "files" / name)), ESpreadSheetFormatError) << name;
                ByteStream stream{bytes, 0};
                LoadFromStream(book, stream, *SpreadSheetFormatsRepository::instance().Find(u"a.xls"));
            } else {
                LoadFromFile(book, wide(kCorpus / "files" / name));
            }
        } catch (const std::exception& e) {
            if (noTruth || std::find(std::begin(kRefusedByDesign), std::end(kRefusedByDesign), name) != std::end(kRefusedByDesign)) {
                ++refused;
                continue;
            }
            ADD_FAILURE() << name << ": " << e.what();
            continue;
        }
        if (noTruth) {
            ADD_FAILURE() << name << " has no truth (every other reader fails) but loaded";
            continue;
        }
        for (const test::Json& sheetTruth : truth["sheets"].array) {
            if (sheetTruth["type"].string != "worksheet") continue;
            SheetTable* sheet = nullptr;
            for (int32_t i = 0; i < book.sheetCount(); ++i) {
                if (toUtf8(book.sheet(i).name()) == sheetTruth["name"].string) sheet = &book.sheet(i);
            }
            // A bare worksheet's name is its file's, which neither reader knows.
            if (bareStream && book.sheetCount() == 1) sheet = &book.sheet(0);
            if (!sheet) {
                ADD_FAILURE() << name << ": no sheet " << sheetTruth["name"].string;
                continue;
            }
            int mismatches = 0;
            for (const test::Json& cell : sheetTruth["cells"].array) {
                const int32_t row = int32_t(cell.array[0].number), column = int32_t(cell.array[1].number);
                if (storesNoValueByDesign(cell)) {
                    const CellRef ours = sheet->getCell(row, column);
                    EXPECT_TRUE(!ours || ours.dataType() == cdtBlank) << name << " (" << row << "," << column << ")";
                    continue;
                }
                const std::string difference = compare(sheet->getCell(row, column), cell);
                if (!difference.empty() && ++mismatches <= 3)
                    ADD_FAILURE() << name << " " << sheetTruth["name"].string << " (" << row << "," << column << "): " << difference;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 100);
    EXPECT_GT(refused, 0);
}

// Excel's own merges, in the order of the file, on both sheets.
TEST(Corpus, AnExcelWorkbooksMergedAreasAreKept) {
    const fs::path file = kCorpus / "files" / "calamine_merged_range.xlsx";
    if (!fs::exists(file)) GTEST_SKIP() << "no corpus beside the project";
    Workbook book;
    LoadFromFile(book, wide(file));
    ASSERT_EQ(book.sheetCount(), 2);
    const auto area = [](std::u16string_view ref) {
        const auto corner = [](std::u16string_view cell) {
            return std::pair{int32_t(cell[0] - u'A'), int32_t(cell[1] - u'1')};
        };
        const auto [left, top] = corner(ref.substr(0, 2));
        const auto [right, bottom] = corner(ref.substr(3, 2));
        return CellRect{left, top, right, bottom};
    };
    std::vector<CellRect> first, second;
    for (auto ref : {u"H1:H2", u"A1:A2", u"B1:B2", u"C1:D2", u"C3:D3", u"C4:D4", u"E1:E2", u"F1:F2", u"G1:G2"})
        first.push_back(area(ref));
    for (auto ref : {u"A1:A4", u"C3:D4", u"F1:H4", u"B1:B2", u"C1:D2", u"E1:E2"}) second.push_back(area(ref));
    EXPECT_EQ(book.sheet(0).mergedAreas(), first);
    EXPECT_EQ(book.sheet(1).mergedAreas(), second);
    ASSERT_NE(book.sheet(1).mergedAreaAt(3, 7), nullptr);
    EXPECT_EQ(*book.sheet(1).mergedAreaAt(3, 7), area(u"F1:H4"));
}

}  // namespace
}  // namespace kes
