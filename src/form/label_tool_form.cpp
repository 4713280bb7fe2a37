#include "form/label_tool_form.h"

#include <cstdio>

#include "form/text_helpers.h"
#include "text/utf8.h"

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

// The row's items, "key":"value", each followed by a comma; counts the empty values.
std::u16string TFrmLabelTool::rowObject(int32_t row, int32_t& emptyCells) {
    std::u16string items;
    emptyCells = 0;
    for (int32_t column = 0; column < FieldCount; ++column) {
        const std::u16string value = cellText(row, column);
        if (IsEmptyStr(value)) ++emptyCells;
        items += u'"';
        items += cellText(0, column);
        items += u"\":\"";
        items += value;
        items += u"\",";
    }
    if (!items.empty()) items.pop_back();
    return u"{" + items + u"}";
}

void TFrmLabelTool::appendPrintRecord(const std::u16string& object) {
    tbTempPrint.Edit();
    tbTempPrint.Append();
    tbTempPrint.FieldByName(u"FID").SetAsString(NewId());
    tbTempPrint.FieldByName(u"FLableCode").SetAsString(u"");
    tbTempPrint.FieldByName(u"FLableVer").SetAsInteger(0);
    tbTempPrint.FieldByName(u"FJson").SetAsString(object);
    tbTempPrint.FieldByName(u"FPrinter").SetAsString(u"");
    tbTempPrint.Post();
}

// Joins the stored objects into the array text, puts it into both memos and sends it.
void TFrmLabelTool::sendStoredRecords() {
    std::u16string text;
    tbTempPrint.First();
    while (!tbTempPrint.Eof()) {
        text += tbTempPrint.FieldByName(u"FJson").AsString();
        text += u',';
        tbTempPrint.Next();
    }
    if (!text.empty()) text.pop_back();
    Memo1 = u"[" + text + u"]";
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
    for (int32_t row = 1;; ++row) {
        int32_t emptyCells = 0;
        const std::u16string object = rowObject(row, emptyCells);
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
    appendPrintRecord(rowObject(row, emptyCells));
    sendStoredRecords();
}

void TFrmLabelTool::btnSendMesClick() {
    if (IsEmptyStr(Memo1)) abortWithMessage(kNothingToPrint);
    SendToHost(MyHandle, WM_COPYDATA_MESSAGE, Memo1, 0);
}

void TFrmLabelTool::Button1Click() {
    SheetTable& table = *SpreadBook.activeSheet();
    Memo2 = platform_.clipboardText() + Memo2;   // pasted at the caret, which stands at the start
    const CellRect area = table.selection().area();
    SetCellText(table, area.top, area.left, Memo2, true);
}

bool TFrmLabelTool::SendToHost(HostWindow target, uint16_t message, const std::u16string& text, uint16_t wordParam) {
    if (target == 0) return true;
    if (!text.empty()) {
        platform_.sendCopyData(target, message, chPreview ? 1 : 0, toUtf8(text));
    } else {
        platform_.sendPlain(target, message, wordParam);
    }
    return true;
}

std::u16string TFrmLabelTool::NewId() {
    const FormPlatform::Guid g = platform_.newGuid();
    char text[33];
    std::snprintf(text, sizeof text, "%08X%04X%04X%02X%02X%02X%02X%02X%02X%02X%02X", g.data1, g.data2, g.data3,
                  g.data4[0], g.data4[1], g.data4[2], g.data4[3], g.data4[4], g.data4[5], g.data4[6], g.data4[7]);
    return std::u16string(text, text + 32);
}

void TFrmLabelTool::abortWithMessage(const std::u16string& text) {
    platform_.showMessage(text);
    throw EAbort();
}

}  // namespace kes
