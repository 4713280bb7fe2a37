#include "sheet/item_list.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace kes {
namespace {

struct Item : ListItem<Item> {
    explicit Item(int32_t i) : ListItem(i) {}
};

class ListFixture {
public:
    ~ListFixture() { list.clear([](Item* item) { delete item; }); }

    Item* create(int32_t index) {
        return list.createItem(index, [](int32_t i) { return new Item(i); }, [this](Item*) { ++created; });
    }
    void remove(Item* item) { list.deleteItem(item, [](Item* i) { delete i; }); }

    std::vector<int32_t> forward() const {
        std::vector<int32_t> out;
        for (Item* i = list.first(); i; i = i->next) out.push_back(i->index);
        return out;
    }
    std::vector<int32_t> backward() const {
        std::vector<int32_t> out;
        for (Item* i = list.last(); i; i = i->prev) out.insert(out.begin(), i->index);
        return out;
    }

    ItemList<Item> list;
    int created = 0;
};

TEST(ItemList, LookupsOnEmptyListAndOutsideTheRangeGiveNone) {
    ListFixture f;
    EXPECT_EQ(f.list.find(0), nullptr);
    EXPECT_EQ(f.list.getItem(0), nullptr);
    f.create(5);
    f.create(9);
    EXPECT_EQ(f.list.getItem(4), nullptr);
    EXPECT_EQ(f.list.getItem(10), nullptr);
    EXPECT_EQ(f.list.find(10), nullptr);
}

TEST(ItemList, MissingIndexBetweenItemsMovesTheCursorToTheNextHigher) {
    ListFixture f;
    for (int32_t i : {2, 7, 10}) f.create(i);
    EXPECT_EQ(f.list.getItem(5), nullptr);
    ASSERT_NE(f.list.cursor(), nullptr);
    EXPECT_EQ(f.list.cursor()->index, 7);
    EXPECT_EQ(f.list.find(8)->index, 10);
}

TEST(ItemList, CreatesInOrderAndReturnsExistingItems) {
    ListFixture f;
    Item* ten = f.create(10);
    f.create(2);
    f.create(7);
    EXPECT_EQ(f.forward(), (std::vector<int32_t>{2, 7, 10}));
    EXPECT_EQ(f.list.first()->index, 2);
    EXPECT_EQ(f.list.last()->index, 10);
    EXPECT_EQ(f.create(10), ten);
    EXPECT_EQ(f.created, 3);
}

TEST(ItemList, ForEachVisitsTheRangeInBothDirectionsAndToleratesDeletion) {
    ListFixture f;
    for (int32_t i = 0; i < 20; i += 2) f.create(i);
    std::vector<int32_t> seen;
    f.list.forEach(3, 11, true, [&](Item* item) { seen.push_back(item->index); });
    EXPECT_EQ(seen, (std::vector<int32_t>{4, 6, 8, 10}));
    seen.clear();
    f.list.forEach(3, 11, false, [&](Item* item) { seen.push_back(item->index); });
    EXPECT_EQ(seen, (std::vector<int32_t>{10, 8, 6, 4}));

    f.list.getItem(16);   // a cursor beyond the range must not hide its start
    f.list.forEach(0, 100, true, [&](Item* item) {
        if (item->index % 4 == 0) f.remove(item);
    });
    EXPECT_EQ(f.forward(), (std::vector<int32_t>{2, 6, 10, 14, 18}));
    EXPECT_EQ(f.backward(), f.forward());
}

// Random creates, deletes and lookups against a std::map, over sparse and dense index
// ranges, so that both the short walks and the directory of far jumps are exercised; and
// without deletes, so that items created in the middle pile up outside the directory.
TEST(ItemList, AgreesWithAnOrderedMapUnderRandomOperations) {
    for (auto [span, deletes] : {std::pair{40, true}, {5000, true}, {1048576, true}, {5000, false}, {1048576, false}}) {
        ListFixture f;
        std::map<int32_t, Item*> model;
        std::mt19937 random(span);
        std::uniform_int_distribution<int32_t> index(0, span - 1);
        for (int step = 0; step < 20000; ++step) {
            const int32_t i = index(random);
            switch (random() % 4) {
            case 0:
            case 1: {
                Item* item = f.create(i);
                ASSERT_EQ(item->index, i);
                auto [it, inserted] = model.emplace(i, item);
                ASSERT_EQ(it->second, item) << "create returned another item for an existing index";
                break;
            }
            case 2:
                if (!deletes) break;
                if (Item* item = f.list.getItem(i)) {
                    f.remove(item);
                    model.erase(i);
                }
                break;
            case 3: {
                // The smallest item not below i; none below the first item as above the last.
                auto it = model.lower_bound(i);
                const bool belowFirst = model.empty() || i < model.begin()->first;
                Item* found = f.list.find(i);
                ASSERT_EQ(found, it == model.end() || belowFirst ? nullptr : it->second) << "find(" << i << ")";
                ASSERT_EQ(f.list.lowerBound(i), it == model.end() ? nullptr : it->second) << "lowerBound(" << i << ")";
                break;
            }
            }
        }
        std::vector<int32_t> keys;
        for (auto& [k, v] : model) keys.push_back(k);
        EXPECT_EQ(f.forward(), keys);
        EXPECT_EQ(f.backward(), keys);
        EXPECT_EQ(f.list.first() ? f.list.first()->prev : nullptr, nullptr);
        EXPECT_EQ(f.list.last() ? f.list.last()->next : nullptr, nullptr);
    }
}

}  // namespace
}  // namespace kes
