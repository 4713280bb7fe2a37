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
