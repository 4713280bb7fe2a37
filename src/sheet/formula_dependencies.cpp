#include "sheet/formula_dependencies.h"

#include <algorithm>

#include "sheet/calc/functions.h"
#include "sheet/cell_formula.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

using formula::Node;
using formula::NodeKind;
using formula::Operator;
using formula::ReferenceShape;

// Areas up to this many cells are entered cell by cell: a row's SUM(A2:L2) costs twelve
// entries and nothing on later changes elsewhere. A formula enters at most kCellBudget cells
// so; the rest of its areas are checked on every change instead, which bounds the memory a
// hostile formula can take.
constexpr int64_t kCellByCell = 256;
constexpr int64_t kCellBudget = 1024;

int64_t cellsOf(const CellRect& r) { return int64_t(r.right - r.left + 1) * int64_t(r.bottom - r.top + 1); }

// A formula's reads as they are entered: each cell of its small areas, up to kCellBudget cells
// in all, to `cell`, and every other area to `wide`. Entering and forgetting split them alike.
template <class Areas, class Cell, class Wide>
void splitReads(const Areas& areas, Cell&& cell, Wide&& wide) {
    int64_t budget = kCellBudget;
    for (const auto& area : areas) {
        const CellRect& r = area.rect;
        const int64_t cells = cellsOf(r);
        if (cells > kCellByCell || cells > budget) {
            wide(area);
            continue;
        }
        budget -= cells;
        for (int32_t y = r.top; y <= r.bottom; ++y) {
            for (int32_t x = r.left; x <= r.right; ++x) cell(area, y, x);
        }
    }
}

}  // namespace

size_t FormulaDependencies::Readers::slotOf(const CellKey& key) const {
    uint64_t h = reinterpret_cast<uintptr_t>(key.sheet);
    h = (h ^ uint64_t(uint32_t(key.row))) * 0x9E3779B97F4A7C15u;
    h = (h ^ uint64_t(uint32_t(key.column))) * 0xC2B2AE3D27D4EB4Fu;
    const size_t mask = slots_.size() - 1;
    for (size_t i = size_t(h ^ (h >> 29)) & mask;; i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (!slot.sheet || (slot.sheet == key.sheet && slot.row == key.row && slot.column == key.column)) return i;
    }
}

void FormulaDependencies::Readers::grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(old.empty() ? 1024 : old.size() * 2, Slot{nullptr, 0, 0, kNone});
    for (const Slot& slot : old) {
        if (slot.sheet) slots_[slotOf({slot.sheet, slot.row, slot.column})] = slot;
    }
}

void FormulaDependencies::Readers::add(const CellKey& key, CellFormula* formula) {
    if ((used_ + 1) * 4 > slots_.size() * 3) grow();
    Slot& slot = slots_[slotOf(key)];
    if (!slot.sheet) {
        slot = {key.sheet, key.row, key.column, kNone};
        ++used_;
    } else if (slot.head != kNone && links_[slot.head].formula == formula) {
        return;   // an area that covers the cell twice
    }
    uint32_t link = freeLinks_;
    if (link != kNone) {
        freeLinks_ = links_[link].next;
    } else {
        link = static_cast<uint32_t>(links_.size());
        links_.push_back({});
    }
    links_[link] = {formula, slot.head};
    slot.head = link;
}

void FormulaDependencies::Readers::remove(const CellKey& key, CellFormula* formula) {
    if (slots_.empty()) return;
    Slot& slot = slots_[slotOf(key)];
    if (!slot.sheet) return;
    for (uint32_t* at = &slot.head; *at != kNone; at = &links_[*at].next) {
        if (links_[*at].formula != formula) continue;
        const uint32_t link = *at;
        *at = links_[link].next;
        links_[link].next = freeLinks_;
        freeLinks_ = link;
        return;
    }
}

uint32_t FormulaDependencies::Readers::first(const CellKey& key) const {
    if (slots_.empty()) return kNone;
    const Slot& slot = slots_[slotOf(key)];
    return slot.sheet ? slot.head : kNone;
}

void FormulaDependencies::Readers::clear() {
    slots_.clear();
    used_ = 0;
    links_.clear();
    freeLinks_ = kNone;
}

FormulaDependencies::Reads FormulaDependencies::readsOf(const CellFormula& formula, SheetTable& sheet) const {
    Reads reads;
    if (formula.role == FormulaRole::ArrayMember) {
        // A member shows its anchor's result: it reads the anchor cell.
        reads.areas.push_back({&sheet, {formula.array.left, formula.array.top, formula.array.left, formula.array.top}});
        return reads;
    }
    if (!formula.expression) return reads;
    addReads(*formula.expression, sheet, reads, 0);
    return reads;
}

// What an expression reads: its references, the definitions of the names it uses and the
// areas of the tables it names. Inputs that only evaluation tells (OFFSET, INDIRECT, a range
// built by a function, a spilled range, a name defined by a formula) make it unknown.
void FormulaDependencies::addReads(const formula::Expression& e, SheetTable& sheet, Reads& reads, int depth) const {
    const std::vector<Node>& nodes = e.nodes();
    for (const Node& node : nodes) {
        switch (node.kind) {
        case NodeKind::Function:
            if (node.function == 0 || (calc::functionOfNumber(node.function).flags & calc::kVolatile)) reads.unknown = true;
            break;
        case NodeKind::Call: reads.unknown = true; break;
        case NodeKind::Binary:
            // A1:B2 written so that it did not fold into one area, such as A1:INDEX(...): the
            // area is only known once evaluated.
            if (node.op == Operator::Range) reads.unknown = true;
            break;
        case NodeKind::Name: {
            if (node.flags & (formula::kFlagLambdaParameter | formula::kFlagExternal)) break;
            SheetTable* scope = node.sheet.empty() ? &sheet : book_.findSheet(e.text(node.sheet));
            const DefinedName* name = scope ? book_.names().find(e.text(node.text), book_.indexOf(*scope)) : nullptr;
            if (!name || !name->expression) break;   // #NAME? until names change, which starts anew
            if (depth >= 8) reads.unknown = true;
            else addReads(*name->expression, name->sheet >= 0 ? book_.sheet(name->sheet) : sheet, reads, depth + 1);
            // A name's relative references move with the cell that uses it.
            for (const Node& inner : name->expression->nodes()) {
                if (inner.kind == NodeKind::Reference && (!inner.first.rowAbsolute || !inner.first.columnAbsolute ||
                                                          !inner.last.rowAbsolute || !inner.last.columnAbsolute)) {
                    reads.unknown = true;
                }
            }
            break;
        }
        case NodeKind::Table: {
            const std::u16string_view name = e.text(node.text);
            const TableDefinition* table = name.empty() ? nullptr : book_.tables().find(name);
            if (!table || table->sheet >= book_.sheetCount()) {
                reads.unknown = true;
                break;
            }
            reads.areas.push_back({&book_.sheet(table->sheet), table->area});
            break;
        }
        case NodeKind::Reference: {
            if (node.shape == ReferenceShape::Invalid || (node.flags & formula::kFlagExternal)) break;
            if (!node.lastSheet.empty() || (node.flags & formula::kFlagSpill)) {
                reads.unknown = true;
                break;
            }
            const std::u16string_view name = e.text(node.sheet);
            const SheetTable* target = name.empty() ? &sheet : book_.findSheet(name);
            if (!target) break;   // #REF! until a sheet of that name comes, which starts anew
            CellRect rect{node.first.column, node.first.row, node.last.column, node.last.row};
            if (node.shape == ReferenceShape::Columns) rect.top = 0, rect.bottom = kMaxRow;
            if (node.shape == ReferenceShape::Rows) rect.left = 0, rect.right = kMaxColumn;
            reads.areas.push_back({target, rect});
            break;
        }
        default: break;
        }
    }
}

bool FormulaDependencies::isCurrent(const CellFormula& formula) const {
    return formula.trackedEpoch == epoch_ && !formula.stale;
}

void FormulaDependencies::computed(CellFormula& formula, SheetTable& sheet, int32_t row, int32_t column) {
    formula.stale = false;
    if (formula.trackedEpoch == epoch_) return;
    formula.trackedEpoch = epoch_;
    formula.sheet = &sheet;
    formula.row = row;
    formula.column = column;
    const Reads reads = readsOf(formula, sheet);
    if (reads.unknown) alwaysStale_.insert(&formula);
    splitReads(
        reads.areas, [&](const Area& area, int32_t y, int32_t x) { readers_.add({area.sheet, y, x}, &formula); },
        [&](const Area& area) { wideReads_[&formula].push_back(area); });
    ++tracked_;
}

void FormulaDependencies::forget(CellFormula& formula) {
    if (formula.trackedEpoch != epoch_) return;
    formula.trackedEpoch = 0;
    formula.stale = true;
    --tracked_;
    alwaysStale_.erase(&formula);
    wideReads_.erase(&formula);
    splitReads(
        readsOf(formula, *formula.sheet).areas,
        [&](const Area& area, int32_t y, int32_t x) { readers_.remove({area.sheet, y, x}, &formula); }, [](const Area&) {});
}

void FormulaDependencies::cellChanged(const SheetTable& sheet, int32_t row, int32_t column) {
    if (tracked_ == 0) return;
    std::vector<CellKey> pending{{&sheet, row, column}};
    const auto stale = [&](CellFormula* formula) {
        if (formula->stale) return;   // and so is every formula that reads it
        formula->stale = true;
        pending.push_back({formula->sheet, formula->row, formula->column});
    };
    for (CellFormula* formula : alwaysStale_) stale(formula);
    while (!pending.empty()) {
        const CellKey key = pending.back();
        pending.pop_back();
        for (uint32_t link = readers_.first(key); link != Readers::kNone; link = readers_.next(link)) {
            stale(readers_.formula(link));
        }
        for (const auto& [formula, areas] : wideReads_) {
            if (formula->stale) continue;
            for (const Area& area : areas) {
                if (area.sheet == key.sheet && area.rect.contains(key.row, key.column)) {
                    stale(formula);
                    break;
                }
            }
        }
    }
}

void FormulaDependencies::invalidateAll() {
    ++epoch_;
    readers_.clear();
    wideReads_.clear();
    alwaysStale_.clear();
    tracked_ = 0;
}

}  // namespace kes
