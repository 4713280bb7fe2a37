#pragma once
// The quick print form's behaviour: its state, the header row built from the host's column
// list, the print commands that turn sheet rows into the JSON payload, the paste command and
// the message channel to the host. The window layer binds its controls to these handlers.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "form/form_components.h"
#include "form/form_platform.h"
#include "form/memo_text.h"
#include "records/record_table.h"
#include "sheet/workbook.h"

namespace kes {

// A command that stops after its message box, leaving the window open. The window layer
// catches it around every handler.
class EAbort : public std::exception {
public:
    const char* what() const noexcept override { return "Operation aborted"; }
};

class TFrmLabelTool {
public:
    // Runs FormCreate.
    explicit TFrmLabelTool(FormPlatform& platform);

    void FormCreate();
    void FormShow();
    // The window frees the form once its modal loop ends; the handler asks for no less.
    void FormClose(TCloseAction& Action) { Action = TCloseAction::caFree; }
    void TimerTimer() { Timer.Enabled = false; }
    // Bound to no component (the form has no tree list): never called.
    void DBTreeListGetNodeImageIndex() {}

    void btnPrintAllClick();
    void btnPrintOneClick();
    void btnSendMesClick();
    void btnCloseClick() { platform_.closeForm(); }
    void btnInportClick();
    void btnOutPutClick();
    void Button1Click();

    // `text` goes to the host as UTF-8.
    bool SendToHost(HostWindow target, uint16_t message, const MemoText& text, uint16_t wordParam);
    void SetCellText(SheetTable& table, int32_t row, int32_t column, std::u16string_view text, bool flag);
    std::u16string NewId();

    // The text of the cell at (row, column) of the active sheet; empty when there is none.
    std::u16string cellText(int32_t row, int32_t column);
    // Where print page stops: the first row from `fromRow` on whose FieldCount cells are all
    // empty or blank, rows 1 up to `fromRow` taken as printing; 1 when print page sends nothing.
    int32_t PageEndRow(int32_t fromRow);

    Workbook SpreadBook;
    RecordTable tbTempPrint;
    StringField& tbTempPrintFID = tbTempPrint.FieldByName(u"FID");
    StringField& tbTempPrintFLableCode = tbTempPrint.FieldByName(u"FLableCode");
    StringField& tbTempPrintFLableVer = tbTempPrint.FieldByName(u"FLableVer");
    StringField& tbTempPrintFJson = tbTempPrint.FieldByName(u"FJson");
    StringField& tbTempPrintFPrinter = tbTempPrint.FieldByName(u"FPrinter");

    // Declared with their fields; no command opens, reads or writes them.
    TClientDataSet tbType = makeTypeTable();
    TDataSource dsType{&tbType};
    TClientDataSet tbLabelType = makeLabelTypeTable();
    TClientDataSet tbPrinter = makePrinterTable();
    TClientDataSet tbTypeDetail = makeTypeDetailTable();
    TPopupMenu PopupMenu = makePopupMenu();
    TTimer Timer;

    // The hidden controls that serve as buffers and switches.
    MemoText Memo1;
    MemoText Memo2{u"Memo2"};
    bool chPreview = true;   // checked by design and never changed: the preview flag sent is 1

    // The host's values and what the header set-up found.
    std::u16string MyFName;
    std::u16string MyFDataSource;
    std::u16string MyPath;
    HostWindow MyHandle = 0;
    int32_t FieldCount = 0;
    std::vector<std::u16string> StrArr;
    bool FIsOpened = false;   // declared state that no command reads or writes
    uint16_t CurCursor = 0;
    TRect AreaRec;
    std::u16string sMessage;

private:
    [[noreturn]] void abortWithMessage(const std::u16string& text);
    void appendPrintRecord(const std::u16string& object);
    std::vector<std::u16string> headerKeys();
    void rowObject(const std::vector<std::u16string>& keys, int32_t row, std::u16string& object, int32_t& emptyCells);
    void sendStoredRecords();

    FormPlatform& platform_;
};

}  // namespace kes
