#include "sheet/calc/functions/lookup_index.h"

#include <bit>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <vector>

#include "sheet/calc/coerce.h"
#include "sheet/calc/unicode_case.h"
#include "sheet/cell_ref.h"
#include "sheet/shared_strings.h"

namespace kes::calc {
namespace {

// An index takes memory and a pass over the line: lines searched fewer times are read as they
// are, and longer ones always (a 32-bit host has no room for an index of millions of texts).
constexpr int kSearchesBeforeIndexing = 3;
constexpr int32_t kMaxIndexedCells = 1 << 18;
constexpr size_t kIndexesKept = 8;
// nearlyEqual's tolerance, 1e-15 of the larger value, spans at most this many steps between
// neighbouring doubles on either side.
constexpr int kNearbyDoubles = 5;

uint64_t numberKey(double value) { return std::bit_cast<uint64_t>(value == 0 ? 0.0 : value); }

uint64_t textKey(std::u16string_view text) {
    uint64_t hash = 1469598103934665603ull;
    for (char16_t c : text) hash = (hash ^ toUpper(c)) * 1099511628211ull;
    return hash ^ text.size();
}

void note(LineHits& hits, int32_t position) {
    if (hits.first < 0) hits.first = position;
    hits.last = position;
}

class LineIndex {
public:
    // False when the line holds a formula.
    bool build(const SheetLine& line) {
        bool plain = true;
        forEachCellOf(line, [&](int32_t position, int32_t, const SheetCell& cell) {
            switch (cell.type) {
            case cdtFloat:
            case cdtDateTime: note(numbers_[numberKey(cell.number)], position); break;
            case cdtInteger: note(numbers_[numberKey(double(cell.integer))], position); break;
            case cdtCurrency: note(numbers_[numberKey(double(cell.currency) / 10000.0)], position); break;
            case cdtBoolean: note(booleans_[cell.boolean ? 1 : 0], position); break;
            case cdtString: note(texts_[textKey(cell.string->text())], position); break;
            case cdtFormula: plain = false; return false;
            default: break;
            }
            return true;
        });
        return plain;
    }

    LineHits find(const Value& key) const {
        if (key.isBoolean()) return booleans_[key.boolean() ? 1 : 0];
        if (key.isText()) {
            const auto found = texts_.find(textKey(key.text()));
            return found == texts_.end() ? LineHits{} : found->second;
        }
        if (!key.isNumber()) return {};
        // Every double nearly equal to the key, each stored exactly.
        LineHits hits;
        const double number = key.number();
        double below = number, above = number;
        for (int step = 0; step <= kNearbyDoubles; ++step) {
            for (double candidate : {below, above}) {
                if (!nearlyEqual(candidate, number)) continue;
                const auto found = numbers_.find(numberKey(candidate));
                if (found == numbers_.end()) continue;
                if (hits.first < 0 || found->second.first < hits.first) hits.first = found->second.first;
                hits.last = std::max(hits.last, found->second.last);
            }
            below = std::nextafter(below, -HUGE_VAL);
            above = std::nextafter(above, HUGE_VAL);
        }
        return hits;
    }

private:
    std::unordered_map<uint64_t, LineHits> numbers_;
    std::unordered_map<uint64_t, LineHits> texts_;
    LineHits booleans_[2];
};

struct Kept {
    uint64_t sheet = 0, version = 0;
    bool vertical = false;
    int32_t line = 0, start = 0, end = 0;
    int searches = 0;
    bool unindexable = false;
    std::unique_ptr<LineIndex> index;
    uint64_t lastUse = 0;

    bool holds(const SheetLine& l) const {
        return sheet == l.sheet->serial() && version == l.sheet->version() && vertical == l.vertical && line == l.line &&
               start == l.start && end == l.end;
    }
};

// Per thread, as evaluation is: no locks, and a thread's indexes are its own.
Kept* keptFor(const SheetLine& line) {
    thread_local std::vector<Kept> kept;
    thread_local uint64_t uses = 0;
    ++uses;
    for (Kept& k : kept) {
        if (k.holds(line)) {
            k.lastUse = uses;
            return &k;
        }
    }
    if (kept.size() < kIndexesKept) {
        kept.emplace_back();
    } else {
        auto oldest = kept.begin();
        for (auto k = kept.begin(); k != kept.end(); ++k) {
            if (k->lastUse < oldest->lastUse) oldest = k;
        }
        std::swap(*oldest, kept.back());
        kept.back() = Kept{};
    }
    Kept& k = kept.back();
    k.sheet = line.sheet->serial();
    k.version = line.sheet->version();
    k.vertical = line.vertical;
    k.line = line.line;
    k.start = line.start;
    k.end = line.end;
    k.lastUse = uses;
    return &k;
}

}  // namespace

std::optional<LineHits> indexedHits(const SheetLine& line, const Value& key) {
    if (line.end - line.start + 1 > kMaxIndexedCells || line.end < line.start) return std::nullopt;
    Kept& kept = *keptFor(line);
    if (kept.unindexable || ++kept.searches < kSearchesBeforeIndexing) return std::nullopt;
    if (!kept.index) {
        auto index = std::make_unique<LineIndex>();
        if (!index->build(line)) {
            kept.unindexable = true;
            return std::nullopt;
        }
        kept.index = std::move(index);
    }
    return kept.index->find(key);
}

}  // namespace kes::calc
