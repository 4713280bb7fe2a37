#pragma once
// The components the quick print form carries without driving them: client data tables with
// their fields (closed and empty for the form's whole life), the data source bound to one of
// them, a context menu that nothing shows, and the small value types of the form's state.
#include <cstdint>
#include <string>
#include <vector>

namespace kes {

enum class TFieldType { ftString, ftInteger };

struct TFieldDef {
    std::u16string FieldName;
    TFieldType DataType;
    uint32_t Size;   // 0 for an integer
    std::u16string DisplayLabel;
};

// A client data table as declared: its fields, never opened, holding no record.
struct TClientDataSet {
    std::vector<TFieldDef> FieldDefs;
    bool Active = false;
    int32_t RecordCount = 0;
};

struct TDataSource {
    const TClientDataSet* DataSet;
};

struct TMenuItem {
    std::u16string Name;
    std::u16string Caption;
    bool Visible = true;
    std::vector<TMenuItem> Items;
};

// A context menu with no handlers, attached to no control: it is never shown.
struct TPopupMenu {
    std::vector<TMenuItem> Items;
};

struct TRect {
    int32_t Left = 0, Top = 0, Right = 0, Bottom = 0;
};

struct TTimer {
    bool Enabled = true;
    uint32_t Interval = 2000;   // milliseconds
};

// What a form's close handler asks to happen to the form.
enum class TCloseAction { caNone, caHide, caFree, caMinimize };

TClientDataSet makeTypeTable();         // tbType
TClientDataSet makeLabelTypeTable();    // tbLabelType
TClientDataSet makePrinterTable();      // tbPrinter
TClientDataSet makeTypeDetailTable();   // tbTypeDetail
TPopupMenu makePopupMenu();

}  // namespace kes
