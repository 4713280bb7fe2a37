#include "form/label_tool_form.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "text/utf8.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

class FakePlatform : public FormPlatform {
public:
    void showMessage(const std::u16string& text) override { messages.push_back(text); }
    void sendCopyData(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload) override {
        sent.push_back({target, message, dwData, payload});
    }
    void sendPlain(HostWindow, uint16_t, uintptr_t) override { ++plainSends; }
    Guid newGuid() override { return {0x1234ABCDu + counter++, 0xBEEF, 0x0042, {1, 2, 3, 4, 5, 6, 7, 8}}; }
    std::u16string clipboardText() override { return clipboard; }
    void closeForm() override { closed = true; }
    std::optional<std::u16string> chooseFileToOpen(const std::u16string& filter, int index) override {
        dialogs.push_back(filter + u"#" + char16_t(u'0' + index));
        return chosenFile;
    }
    std::optional<std::u16string> chooseFileToSave(const std::u16string& filter, int index, const std::u16string& ext) override {
        dialogs.push_back(filter + u"#" + char16_t(u'0' + index) + u"#" + ext);
        return chosenFile;
    }
    std::vector<std::u16string> dialogs;
    std::optional<std::u16string> chosenFile;

    struct Sent {
        HostWindow target;
        uint16_t message;
        uint32_t dwData;
        std::string payload;
    };
    std::vector<Sent> sent;
    std::vector<std::u16string> messages;
    std::u16string clipboard;
    int plainSends = 0;
    uint32_t counter = 0;
    bool closed = false;
};

class LabelForm : public ::testing::Test {
protected:
    void show(std::u16string fields) {
        form.MyHandle = 0x1234;
        form.MyFDataSource = std::move(fields);
        form.FormShow();
    }
    void type(int32_t row, int32_t column, std::u16string_view text) {
        form.SetCellText(*form.SpreadBook.activeSheet(), row, column, text, true);
    }
    std::string lastPayload() const { return platform.sent.empty() ? "" : platform.sent.back().payload; }

    FakePlatform platform;
    TFrmLabelTool form{platform};
};

TEST_F(LabelForm, HeaderRowComesFromTheColumnList) {
    struct Case { std::u16string list; int32_t count; std::vector<std::u16string> names; };
    const Case cases[] = {
        {u"[\"a\",\"b\",\"c\"]", 3, {u"a", u"b", u"c"}},
        {u" [ \"a\", \"b\" , \"c\" ] ", 3, {u"a", u"b", u"c"}},
        {u"[\"only\"]", 1, {u"only"}},
        {u"", 1, {u""}},
        {u"[]", 1, {u""}},
        {u"[\"a,b\",\"c]d\"]", 3, {u"a", u"b", u"cd"}},
        {u"[\"a\",]", 2, {u"a", u""}},
    };
    for (const Case& c : cases) {
        FakePlatform p;
        TFrmLabelTool f(p);
        f.MyFDataSource = c.list;
        f.FormShow();
        EXPECT_EQ(f.FieldCount, c.count);
        EXPECT_EQ(f.StrArr, c.names);
        for (size_t i = 0; i < c.names.size(); ++i) EXPECT_EQ(f.cellText(0, int32_t(i)), c.names[i]);
        EXPECT_EQ(f.SpreadBook.activeSheet()->getRow(0)->cellCount(), 51) << "A to AY are cleared (made) first";
    }
}

TEST_F(LabelForm, HeaderNamesStayTextButNumbersBecomeNumbers) {
    show(u"[\"=SUM(A1)\",\"2024\",\"60\u4E2A\"]");
    const CellRef formulaLike = form.SpreadBook.activeSheet()->getCell(0, 0);
    EXPECT_EQ(formulaLike.dataType(), cdtString);
    EXPECT_EQ(form.SpreadBook.activeSheet()->getCell(0, 1).dataType(), cdtFloat);
    EXPECT_EQ(form.cellText(0, 1), u"2024");
}

// Undo right after the window opens must not erase field names (the next print would send
// empty keys); a user's own edit is still undone on its own.
TEST_F(LabelForm, HeaderSetUpIsNotUndoable) {
    show(u"[\"a\",\"b\"]");
    EXPECT_FALSE(form.SpreadBook.history().canUndo());
    form.SpreadBook.history().undo();
    form.SpreadBook.history().beginAction();   // one typed cell is one step, as the grid records it
    type(1, 0, u"x");
    form.SpreadBook.history().endAction();
    form.SpreadBook.history().undo();
    EXPECT_EQ(form.cellText(1, 0), u"");
    EXPECT_EQ(form.cellText(0, 0), u"a");
    EXPECT_EQ(form.cellText(0, 1), u"b");
    EXPECT_FALSE(form.SpreadBook.history().canUndo());
    type(1, 0, u"y");
    EXPECT_TRUE(form.SpreadBook.history().canUndo()) << "the history records again after the set-up";
}

TEST_F(LabelForm, PrintPageSendsRowsUpToTheFirstEmptyOne) {
    show(u"[\"\u54C1\u540D\",\"\u6570\u91CF\",\"\u6761\u7801\"]");   // 品名 数量 条码
    type(1, 0, u"\u87BA\u4E1D");
    type(1, 1, u"12");
    type(1, 2, u"6901234567890");
    type(2, 0, u" x\"y ");
    type(3, 3, u"beyond the columns");   // counts as empty: only the header columns are looked at
    type(4, 0, u"after the gap");
    form.btnPrintAllClick();
    ASSERT_EQ(platform.sent.size(), 1u);
    EXPECT_EQ(platform.sent[0].target, 0x1234u);
    EXPECT_EQ(platform.sent[0].message, 74);
    EXPECT_EQ(platform.sent[0].dwData, 1u);
    EXPECT_EQ(lastPayload(),
              "[{\"\xE5\x93\x81\xE5\x90\x8D\":\"\xE8\x9E\xBA\xE4\xB8\x9D\",\"\xE6\x95\xB0\xE9\x87\x8F\":\"12\","
              "\"\xE6\x9D\xA1\xE7\xA0\x81\":\"6901234567890\"},"
              "{\"\xE5\x93\x81\xE5\x90\x8D\":\" x\"y \",\"\xE6\x95\xB0\xE9\x87\x8F\":\"\",\"\xE6\x9D\xA1\xE7\xA0\x81\":\"\"}]");
    EXPECT_EQ(toUtf8(form.Memo1.text()), lastPayload());
    EXPECT_EQ(form.Memo2, form.Memo1);
    EXPECT_EQ(form.tbTempPrint.recordCount(), 2u);
}

// The rows the grid marks as printing are exactly the rows print page sends, also when the
// look-up starts from a row below the top.
TEST_F(LabelForm, PageEndRowAgreesWithPrintPage) {
    struct Case {
        const char* name;
        std::u16string fields;
        std::vector<std::vector<std::u16string>> rows;   // from row 1
    };
    const Case cases[] = {
        {"empty sheet", u"[\"a\",\"b\"]", {}},
        {"stops at a gap", u"[\"a\",\"b\"]", {{u"1", u"2"}, {u"", u"x"}, {u"", u""}, {u"after", u"gap"}}},
        {"spaces count as empty", u"[\"a\",\"b\"]", {{u"1", u""}, {u"  ", u" "}, {u"3", u"4"}}},
        {"data beyond the fields only", u"[\"a\"]", {{u"1", u"x"}, {u"", u"x"}, {u"2", u""}}},
        {"empty list prints nothing", u"[]", {{u"1", u"2"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FakePlatform p;
        TFrmLabelTool f(p);
        f.MyHandle = 1;
        f.MyFDataSource = c.fields;
        f.FormShow();
        for (size_t r = 0; r < c.rows.size(); ++r) {
            for (size_t col = 0; col < c.rows[r].size(); ++col)
                f.SetCellText(*f.SpreadBook.activeSheet(), int32_t(r + 1), int32_t(col), c.rows[r][col], true);
        }
        f.btnPrintAllClick();
        const int32_t sent = f.tbTempPrint.state() == RecordTable::State::Inactive ? 0 : int32_t(f.tbTempPrint.recordCount());
        const int32_t end = f.PageEndRow(1);
        EXPECT_EQ(end - 1, sent);
        for (int32_t from = 1; from <= end; ++from) EXPECT_EQ(f.PageEndRow(from), end) << "from row " << from;
    }
}

// The components the form carries without driving them: declared with their fields, closed,
// empty; the context menu holds its items and nothing else.
TEST_F(LabelForm, DeclaredComponentsStayClosedAndEmpty) {
    using F = TFieldType;
    struct Case {
        const char* name;
        const TClientDataSet& table;
        std::vector<std::pair<std::u16string, uint32_t>> fields;   // size 0: an integer field
    };
    const Case cases[] = {
        {"tbType", form.tbType, {{u"FCode", 100}, {u"FParent", 0}, {u"FName", 100}, {u"FParentID", 50}, {u"FID", 50}}},
        {"tbLabelType", form.tbLabelType,
         {{u"FTypeID", 50}, {u"FCompanyID", 50}, {u"FUserID", 50}, {u"FCode", 50}, {u"FName", 50}, {u"FSQL", 1000}}},
        {"tbPrinter", form.tbPrinter, {}},
        {"tbTypeDetail", form.tbTypeDetail,
         {{u"FCode", 100}, {u"FParent", 0}, {u"FName", 100}, {u"FParentID", 50}, {u"FID", 50}, {u"FPrinter", 50},
          {u"FLabelVersion", 0}, {u"FDataSource", 1000}}},
    };
    show(u"[\"a\"]");
    form.btnPrintAllClick();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_FALSE(c.table.Active);
        EXPECT_EQ(c.table.RecordCount, 0);
        ASSERT_EQ(c.table.FieldDefs.size(), c.fields.size());
        for (size_t i = 0; i < c.fields.size(); ++i) {
            EXPECT_EQ(c.table.FieldDefs[i].FieldName, c.fields[i].first);
            EXPECT_EQ(c.table.FieldDefs[i].Size, c.fields[i].second);
            EXPECT_EQ(c.table.FieldDefs[i].DataType, c.fields[i].second ? F::ftString : F::ftInteger);
        }
    }
    EXPECT_EQ(form.tbType.FieldDefs[2].DisplayLabel, u"\u6807\u7B7E\u540D\u79F0");
    EXPECT_EQ(form.dsType.DataSet, &form.tbType);

    std::u16string names;
    for (const TMenuItem& item : form.PopupMenu.Items) {
        names += item.Name + (item.Visible ? u" " : u"(hidden) ");
        for (const TMenuItem& sub : item.Items) names += sub.Name + u" ";
    }
    EXPECT_EQ(names, u"N9 N11 N12 N29 N2 N10 N1 N3 N31 N30 N8 N25(hidden) N26 N27 N17(hidden) N18 N28 ");

    TCloseAction action = TCloseAction::caHide;
    form.FormClose(action);
    EXPECT_EQ(action, TCloseAction::caFree);
    EXPECT_EQ(form.Timer.Interval, 2000u);
    form.TimerTimer();
    EXPECT_FALSE(form.Timer.Enabled) << "the timer fires once";
}

TEST_F(LabelForm, PrintPageOfAnEmptySheetSendsTwoBrackets) {
    show(u"[\"a\",\"b\"]");
    type(1, 0, u"   ");
    form.btnPrintAllClick();
    EXPECT_EQ(lastPayload(), "[]");
    EXPECT_TRUE(platform.messages.empty());
}

TEST_F(LabelForm, EmptyColumnListPrintsNothing) {
    show(u"[]");
    type(1, 0, u"x");
    form.btnPrintAllClick();
    EXPECT_EQ(form.Memo1, u"{[]}");
    form.SpreadBook.activeSheet()->selection().setFocused(1, 0);
    form.btnPrintOneClick();
    EXPECT_TRUE(platform.sent.empty());
}

TEST_F(LabelForm, PrintRowRefusesTheHeaderAndSendsAnyOtherRow) {
    show(u"[\"A\",\"B\"]");
    type(5, 0, u"1");
    EXPECT_THROW(form.btnPrintOneClick(), EAbort);
    ASSERT_EQ(platform.messages.size(), 1u);
    EXPECT_EQ(platform.messages[0], u"\u8BF7\u9009\u62E9\u975E\u6807\u9898\u7684\u884C\u8BB0\u5F55\u6253\u5370\uFF01");
    EXPECT_TRUE(platform.sent.empty());

    form.SpreadBook.activeSheet()->selection().selectRange({0, 5, 1, 9}, 7, 1);   // the area's top counts
    form.btnPrintOneClick();
    EXPECT_EQ(lastPayload(), "[{\"A\":\"1\",\"B\":\"\"}]");
    form.SpreadBook.activeSheet()->selection().setFocused(500, 0);
    form.btnPrintOneClick();
    EXPECT_EQ(lastPayload(), "[{\"A\":\"\",\"B\":\"\"}]");
}

TEST_F(LabelForm, LongRowsAreCutAtTheRecordFieldSize) {
    show(u"[\"k\"]");
    type(1, 0, std::u16string(6000, u'x'));
    form.btnPrintAllClick();
    // The object is cut after its 5000th byte: no closing quote or brace survives.
    const std::string expected = "[{\"k\":\"" + std::string(5000 - 6, 'x') + "]";
    EXPECT_TRUE(lastPayload() == expected) << "payload of " << lastPayload().size() << " bytes";
}

TEST_F(LabelForm, SendRefusesBlankTextAndSkipsAZeroHandle) {
    form.Memo1 = u" \r\n";
    EXPECT_THROW(form.btnSendMesClick(), EAbort);
    EXPECT_EQ(platform.messages.back(), u"\u6CA1\u6709\u53EF\u4EE5\u6253\u5370\u7684\u6570\u636E\uFF01");

    EXPECT_TRUE(form.SendToHost(0, 74, u"[]", 0));
    EXPECT_TRUE(platform.sent.empty());
    form.SendToHost(7, 74, u"", 9);
    EXPECT_EQ(platform.plainSends, 1);
    form.SendToHost(7, 74, u"[", 0);
    EXPECT_EQ(lastPayload(), "[");
}

TEST_F(LabelForm, RecordIdsAre32UpperCaseHexDigits) {
    const std::u16string id = form.NewId();
    EXPECT_EQ(id, u"1234ABCDBEEF00420102030405060708");
    EXPECT_NE(form.NewId(), id);
}

TEST_F(LabelForm, PasteCommandPutsClipboardBeforeTheMemoText) {
    show(u"[\"a\"]");
    platform.clipboard = u"=1+2";
    form.SpreadBook.activeSheet()->selection().setFocused(3, 2);
    form.Button1Click();
    EXPECT_EQ(form.Memo2, u"=1+2Memo2");
    EXPECT_EQ(form.SpreadBook.activeSheet()->getCell(3, 2).dataType(), cdtString);
    platform.clipboard = u"5";
    form.Memo2.clear();
    form.Button1Click();
    EXPECT_EQ(form.SpreadBook.activeSheet()->getCell(3, 2).dataType(), cdtFloat);
}

}  // namespace
}  // namespace kes

namespace kes {
namespace {

TEST_F(LabelForm, ImportReplacesTheHeaderRowAndKeepsTheColumnCount) {
    show(u"[\"a\",\"b\"]");
    const auto dir = std::filesystem::temp_directory_path() / ("kes-form-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string csv = (dir / "labels.csv").string();
    std::ofstream(csv, std::ios::binary) << "code,name,extra\nA1,x,1\n";

    platform.chosenFile.reset();
    form.btnInportClick();   // cancelled: nothing happens
    EXPECT_EQ(form.cellText(0, 0), u"a");

    platform.chosenFile = std::u16string(csv.begin(), csv.end());
    form.btnInportClick();
    EXPECT_EQ(form.cellText(0, 0), u"code");
    EXPECT_EQ(form.FieldCount, 2);
    form.btnPrintAllClick();
    EXPECT_EQ(lastPayload(), "[{\"code\":\"A1\",\"name\":\"x\"}]");
    EXPECT_EQ(platform.dialogs.front(), u"Microsoft Excel (*.xls, *.xlsx)|*.xls;*.xlsx#1");

    const std::string bin = (dir / "labels.bin").string();
    platform.chosenFile = std::u16string(bin.begin(), bin.end());
    form.btnOutPutClick();
    EXPECT_EQ(platform.dialogs.back(), u"Microsoft Excel (*.xlsx)|*.xlsx|Microsoft Excel (*.xls)|*.xls#1#xlsx");
    EXPECT_TRUE(std::filesystem::exists(bin));

    std::ofstream(csv + ".txt", std::ios::binary) << "not a workbook";
    platform.chosenFile = std::u16string(csv.begin(), csv.end()) + u".txt";
    EXPECT_THROW(form.btnInportClick(), ESpreadSheetFormatError);
    EXPECT_EQ(form.cellText(0, 0), u"code") << "a failed import leaves the grid as it was";
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace kes
