#pragma once
// The grid's workbook: an ordered list of sheets with an active one, and what the sheets share:
// the string table, the cell styles, the format settings, the undo history.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/cell_styles.h"
#include "sheet/defined_names.h"
#include "sheet/display_cache.h"
#include "sheet/format/format_settings.h"
#include "sheet/formula_dependencies.h"
#include "sheet/shared_strings.h"
#include "sheet/sheet_table.h"
#include "sheet/undo_history.h"

namespace kes {

class Workbook {
public:
    // A workbook with one empty sheet named "Sheet1", as the grid starts.
    Workbook();
    ~Workbook();
    Workbook(const Workbook&) = delete;
    Workbook& operator=(const Workbook&) = delete;

    int32_t sheetCount() const { return static_cast<int32_t>(sheets_.size()); }
    SheetTable& sheet(int32_t index) { return *sheets_.at(static_cast<size_t>(index)); }
    // None when the active index is outside the sheet list.
    SheetTable* activeSheet();
    int32_t activeSheetIndex() const { return activeSheet_; }
    void setActiveSheetIndex(int32_t index) { activeSheet_ = index; }

    SheetTable& addSheet(std::u16string name);
    // The sheet of that name, ignoring ASCII case; none when there is no such sheet.
    SheetTable* findSheet(std::u16string_view name);
    // Removes every sheet, every string and style with them.
    void clearAll();

    SharedStringTable& strings() { return strings_; }
    CellStyles& styles() { return styles_; }
    UndoHistory& history() { return history_; }
    DisplayCache& displayCache() { return displayCache_; }
    FormulaDependencies& formulas() { return formulas_; }
    // Defined names and tables; whoever changes them calls namesChanged().
    DefinedNames& names() { return names_; }
    TableDefinitions& tables() { return tables_; }
    void namesChanged() { formulas_.invalidateAll(); }
    // The index of a sheet of this workbook; -1 for another.
    int32_t indexOf(const SheetTable& sheet) const;

    const FormatSettings& settings() const { return settings_; }
    void setSettings(FormatSettings settings);
    // Changes whenever the settings do, so that cached display texts are made anew.
    uint32_t settingsGeneration() const { return settingsGeneration_; }

    // Counts every change of any cell.
    uint64_t contentVersion() const { return contentVersion_; }
    void contentChanged() { ++contentVersion_; }

    // The grid-wide default of the sheets' ZeroValues setting.
    bool zeroValues = true;
    // While set, a cell of an array formula may be written (readers, undo).
    bool suspendArrayCheck = false;
    bool modified = false;

private:
    std::vector<std::unique_ptr<SheetTable>> sheets_;
    int32_t activeSheet_ = 0;
    SharedStringTable strings_;
    CellStyles styles_;
    UndoHistory history_;
    DisplayCache displayCache_;
    FormatSettings settings_;
    DefinedNames names_;
    TableDefinitions tables_;
    FormulaDependencies formulas_{*this};
    uint32_t settingsGeneration_ = 0;
    uint64_t contentVersion_ = 0;
};

}  // namespace kes
