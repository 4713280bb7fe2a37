#pragma once
// The defined names of a workbook (=SUM(Sales), =Rate*2, a LAMBDA under a name) and its tables,
// the ranges structured references name (Table1[Qty]). Workbook files bring both; formulas
// look them up when they are computed.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/selection.h"

namespace kes::formula {
class Expression;
}

namespace kes {

struct DefinedName {
    std::u16string name;
    int32_t sheet = -1;   // the index of the sheet it belongs to, -1 for the whole workbook
    // "=" and the definition as the grid shows it; it may not parse (a definition from a file
    // that refers to nothing we know), and the name then gives #NAME?.
    std::u16string formula;
    std::shared_ptr<const formula::Expression> expression;
    bool hidden = false;
};

class DefinedNames {
public:
    // At most this many, as Excel's own limit on a sheet's names keeps hostile files small.
    static constexpr size_t kMaxNames = 65536;

    // Adds the name, or replaces the one of the same name and scope; false (nothing changed)
    // beyond kMaxNames.
    bool define(DefinedName name);
    // The name as a formula on `sheet` sees it: the sheet's own first, then the workbook's.
    const DefinedName* find(std::u16string_view name, int32_t sheet) const;
    // The name of exactly that scope.
    const DefinedName* findExact(std::u16string_view name, int32_t sheet) const;
    const std::vector<DefinedName>& all() const { return names_; }
    size_t size() const { return names_.size(); }
    void clear() { names_.clear(); }

private:
    std::vector<DefinedName> names_;
};

struct TableDefinition {
    std::u16string name;
    int32_t sheet = 0;
    CellRect area;            // header and totals rows included
    bool headerRow = true;
    bool totalsRow = false;
    std::vector<std::u16string> columns;   // one name for each column of the area
};

class TableDefinitions {
public:
    static constexpr size_t kMaxTables = 65536;

    // False (nothing changed) for a table whose columns do not match its area, a name taken,
    // or beyond kMaxTables.
    bool add(TableDefinition table);
    const TableDefinition* find(std::u16string_view name) const;
    // The table whose area holds the cell; none when no table does.
    const TableDefinition* at(int32_t sheet, int32_t row, int32_t column) const;
    const std::vector<TableDefinition>& all() const { return tables_; }
    size_t size() const { return tables_.size(); }
    void clear() { tables_.clear(); }

private:
    std::vector<TableDefinition> tables_;
};

}  // namespace kes
