#include "form/label_tool_form.h"

#include <algorithm>

#include "form/text_helpers.h"
#include "sheet/history_lock.h"
#include "text/prefault.h"
#include "text/utf8.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

const std::u16string kSelectDataRow = u"\u8BF7\u9009\u62E9\u975E\u6807\u9898\u7684\u884C\u8BB0\u5F55\u6253\u5370\uFF01";  // 请选择非标题的行记录打印！
const std::u16string kNothingToPrint = u"\u6CA1\u6709\u53EF\u4EE5\u6253\u5370\u7684\u6570\u636E\uFF01";  // 没有可以打印的数据！
constexpr int32_t kClearedHeaderColumns = 51;   // A to AY

std::u16string removeAll(std::u16string text, char16_t c) {
    std::erase(text, c);
    return text;
}

}  // namespace

TFrmLabelTool::TFrmLabelTool(FormPlatform& platform) : tbTempPrint(makeTempPrintTable()), platform_(platform) {
    FormCreate();
}

void TFrmLabelTool::FormCreate() {
    FieldCount = 0;
    tbTempPrint.Close();
    tbTempPrint.Open();
    MyHandle = 0;
    MyPath.clear();
    MyFName.clear();
    MyFDataSource.clear();
}

void TFrmLabelTool::FormShow() {
    SheetTable& table = *SpreadBook.activeSheet();
    // The header row is the window's starting point, not an edit: an undo must not erase it.
    const HistoryLock lock(SpreadBook.history());
    // Deliberately no JSON parsing: brackets and quotes go wherever they stand.
    std::u16string s = MyFDataSource;
    s = removeAll(TrimText(s), u'[');
    s = removeAll(TrimText(s), u']');
    s = removeAll(TrimText(s), u'"');
    const std::u16string trimmed = TrimText(s);
    FieldCount = s.find(u',') != std::u16string::npos ? SubStrCount(trimmed, u",") : 1;

    for (int32_t column = 0; column < kClearedHeaderColumns; ++column) SetCellText(table, 0, column, u"", false);
    if (FieldCount <= 0) return;
    StrArr.assign(static_cast<size_t>(FieldCount), std::u16string());
    if (FieldCount == 1) {
        SetCellText(table, 0, 0, trimmed, false);
        StrArr[0] = trimmed;
        return;
    }
    for (int32_t i = 0; i < FieldCount; ++i) {
        std::u16string name = TrimText(GetSubStr(trimmed, u",", i + 1));
        SetCellText(table, 0, i, name, false);
        StrArr[static_cast<size_t>(i)] = std::move(name);
    }
}

void TFrmLabelTool::SetCellText(SheetTable& table, int32_t row, int32_t column, std::u16string_view text, bool flag) {
    CellRef cell = table.getCell(row, column);
    if (!cell) cell = table.createCell(row, column);
    cell.setText(text, flag ? 1 : 0);
}

std::u16string TFrmLabelTool::cellText(int32_t row, int32_t column) {
    const CellRef cell = SpreadBook.activeSheet()->getCell(row, column);
    return cell ? cell.displayText() : std::u16string();
}

int32_t TFrmLabelTool::PageEndRow(int32_t fromRow) {
    if (MyFDataSource == u"[]") return 1;
    SheetTable& sheet = *SpreadBook.activeSheet();
    const auto blank = [&](int32_t row) {
        SheetRow* cells = sheet.getRow(row);
        for (int32_t column = 0; cells && column < FieldCount; ++column) {
            SheetCell* cell = cells->cells.getItem(column);
            if (cell && !IsEmptyStr(CellRef(&sheet, cells, cell).displayText())) return false;
        }
        return true;
    };
    int32_t row = std::max(fromRow, 1);
    while (!blank(row)) ++row;
    return row;
}

// The keys as row 0 holds them when a print command starts (the user may have edited them).
std::vector<std::u16string> TFrmLabelTool::headerKeys() {
    std::vector<std::u16string> keys;
    for (int32_t column = 0; column < FieldCount; ++column) keys.push_back(cellText(0, column));
    return keys;
}

// The row's object {"key":"value",...} into `object`; counts the values that are empty or blank.
void TFrmLabelTool::rowObject(const std::vector<std::u16string>& keys, int32_t row, std::u16string& object,
                              int32_t& emptyCells) {
    SheetTable& sheet = *SpreadBook.activeSheet();
    SheetRow* cells = sheet.getRow(row);
    object.assign(1, u'{');
    emptyCells = 0;
    for (int32_t column = 0; column < FieldCount; ++column) {
        SheetCell* cell = cells ? cells->cells.getItem(column) : nullptr;
        object += u'"';
        object += keys[static_cast<size_t>(column)];
        object += u"\":\"";
        if (cell) {
            const size_t start = object.size();
            object += CellRef(&sheet, cells, cell).displayText();
            if (IsEmptyStr(std::u16string_view(object).substr(start))) ++emptyCells;
        } else {
            ++emptyCells;
        }
        object += u"\",";
    }
    if (object.size() > 1) object.pop_back();   // the last comma
    object += u'}';
}

void TFrmLabelTool::appendPrintRecord(const std::u16string& object) {
    tbTempPrint.Edit();
    tbTempPrint.Append();
    tbTempPrintFID.SetAsString(NewId());
    tbTempPrintFLableCode.SetAsString(u"");
    tbTempPrintFLableVer.SetAsInteger(0);
    tbTempPrintFJson.SetAsString(object);
    tbTempPrintFPrinter.SetAsString(u"");
    tbTempPrint.Post();
}

// Joins the stored objects into the array text, puts it into both memos and sends it. The text
// is made in UTF-8, the form the host receives, straight from the records.
void TFrmLabelTool::sendStoredRecords() {
    std::string text = "[";
    // A double-byte character takes three bytes in UTF-8: a close estimate for Chinese labels.
    text.reserve(tbTempPrint.storedBytes() / 2 * 3 + tbTempPrint.recordCount() + 2);
    prefaultForWriting(text.data(), text.capacity());
    const StringField& json = tbTempPrint.FieldByName(u"FJson");
    tbTempPrint.First();
    while (!tbTempPrint.Eof()) {
        json.AppendAsUtf8(text);
        text += ',';
        tbTempPrint.Next();
    }
    if (text.size() > 1) text.pop_back();
    text += ']';
    Memo1 = MemoText::fromUtf8(std::move(text));
    Memo2 = Memo1;
    btnSendMesClick();
}

void TFrmLabelTool::btnPrintAllClick() {
    if (MyFDataSource == u"[]") {
        Memo1 = u"{[]}";
        return;
    }
    tbTempPrint.Close();
    tbTempPrint.Open();
    const std::vector<std::u16string> keys = headerKeys();
    std::u16string object;
    for (int32_t row = 1;; ++row) {
        int32_t emptyCells = 0;
        rowObject(keys, row, object, emptyCells);
        if (emptyCells == FieldCount) break;
        appendPrintRecord(object);
    }
    sendStoredRecords();
}

void TFrmLabelTool::btnPrintOneClick() {
    const int32_t row = SpreadBook.activeSheet()->selection().area().top;
    if (row == 0) abortWithMessage(kSelectDataRow);
    if (MyFDataSource == u"[]") return;
    tbTempPrint.Close();
    tbTempPrint.Open();
    int32_t emptyCells = 0;   // counted but not used: an empty row is printed as well
    std::u16string object;
    rowObject(headerKeys(), row, object, emptyCells);
    appendPrintRecord(object);
    sendStoredRecords();
}

void TFrmLabelTool::btnSendMesClick() {
    if (Memo1.isBlank()) abortWithMessage(kNothingToPrint);
    SendToHost(MyHandle, WM_COPYDATA_MESSAGE, Memo1, 0);
}

void TFrmLabelTool::btnInportClick() {
    if (auto file = platform_.chooseFileToOpen(u"Microsoft Excel (*.xls, *.xlsx)|*.xls;*.xlsx", 1)) {
        LoadFromFile(SpreadBook, *file);
    }
}

void TFrmLabelTool::btnOutPutClick() {
    if (auto file = platform_.chooseFileToSave(u"Microsoft Excel (*.xlsx)|*.xlsx|Microsoft Excel (*.xls)|*.xls", 1, u"xlsx")) {
        SaveToFile(SpreadBook, *file);
    }
}

void TFrmLabelTool::Button1Click() {
    SheetTable& table = *SpreadBook.activeSheet();
    Memo2 = platform_.clipboardText() + Memo2.text();   // pasted at the caret, which stands at the start
    const CellRect area = table.selection().area();
    SetCellText(table, area.top, area.left, Memo2.text(), true);
}

bool TFrmLabelTool::SendToHost(HostWindow target, uint16_t message, const MemoText& text, uint16_t wordParam) {
    if (target == 0) return true;
    if (!text.utf8().empty()) {
        platform_.sendCopyData(target, message, chPreview ? 1 : 0, text.utf8());
    } else {
        platform_.sendPlain(target, message, wordParam);
    }
    return true;
}

std::u16string TFrmLabelTool::NewId() {
    // The braced text form of the GUID without its braces and hyphens: 32 upper-case digits.
    const FormPlatform::Guid g = platform_.newGuid();
    char16_t id[32];
    char16_t* p = id;
    const auto hex = [&](uint32_t value, int digits) {
        for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) *p++ = u"0123456789ABCDEF"[(value >> shift) & 0xF];
    };
    hex(g.data1, 8);
    hex(g.data2, 4);
    hex(g.data3, 4);
    for (uint8_t byte : g.data4) hex(byte, 2);
    return std::u16string(id, 32);
}

void TFrmLabelTool::abortWithMessage(const std::u16string& text) {
    platform_.showMessage(text);
    throw EAbort();
}

}  // namespace kes
