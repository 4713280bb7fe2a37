#include "sheet/defined_names.h"

#include "sheet/calc/value.h"

namespace kes {

bool DefinedNames::define(DefinedName name) {
    for (DefinedName& existing : names_) {
        if (existing.sheet == name.sheet && equalsIgnoringAsciiCase(existing.name, name.name)) {
            existing = std::move(name);
            return true;
        }
    }
    if (names_.size() >= kMaxNames) return false;
    names_.push_back(std::move(name));
    return true;
}

const DefinedName* DefinedNames::findExact(std::u16string_view name, int32_t sheet) const {
    for (const DefinedName& existing : names_) {
        if (existing.sheet == sheet && equalsIgnoringAsciiCase(existing.name, name)) return &existing;
    }
    return nullptr;
}

const DefinedName* DefinedNames::find(std::u16string_view name, int32_t sheet) const {
    if (sheet >= 0) {
        if (const DefinedName* own = findExact(name, sheet)) return own;
    }
    return findExact(name, -1);
}

bool TableDefinitions::add(TableDefinition table) {
    const int64_t width = int64_t(table.area.right) - table.area.left + 1;
    const int64_t height = int64_t(table.area.bottom) - table.area.top + 1;
    if (width <= 0 || height <= 0 || size_t(width) != table.columns.size()) return false;
    if (tables_.size() >= kMaxTables || find(table.name)) return false;
    tables_.push_back(std::move(table));
    return true;
}

const TableDefinition* TableDefinitions::find(std::u16string_view name) const {
    for (const TableDefinition& table : tables_) {
        if (equalsIgnoringAsciiCase(table.name, name)) return &table;
    }
    return nullptr;
}

const TableDefinition* TableDefinitions::at(int32_t sheet, int32_t row, int32_t column) const {
    for (const TableDefinition& table : tables_) {
        if (table.sheet == sheet && table.area.contains(row, column)) return &table;
    }
    return nullptr;
}

}  // namespace kes
