#pragma once
// The quick print form's behaviour: its state, the header row built from the host's column
// list, the print commands that turn sheet rows into the JSON payload, the paste command and
// the message channel to the host. The window layer binds its controls to these handlers.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
    void TimerTimer() { TimerEnabled = false; }

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

    Workbook SpreadBook;
    RecordTable tbTempPrint;

    // The hidden controls that serve as buffers and switches.
    MemoText Memo1;
    MemoText Memo2{u"Memo2"};
    bool chPreview = true;   // checked by design and never changed: the preview flag sent is 1
    bool TimerEnabled = true;

    // The host's values and what the header set-up found.
    std::u16string MyFName;
    std::u16string MyFDataSource;
    std::u16string MyPath;
    HostWindow MyHandle = 0;
    int32_t FieldCount = 0;
    std::vector<std::u16string> StrArr;
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
