#include "sheet/shared_strings.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace kes {
namespace {

TEST(SharedStrings, EqualTextsShareOneEntryThatLivesWhileReferenced) {
    SharedStringTable table;
    SharedString* a = table.acquire(u"\u54C1\u540D");
    SharedString* b = table.acquire(u"\u54C1\u540D");
    EXPECT_EQ(a, b);
    EXPECT_EQ(table.size(), 1u);
    table.release(a);
    EXPECT_EQ(b->text(), u"\u54C1\u540D");
    table.release(b);
    EXPECT_EQ(table.size(), 0u);
    EXPECT_EQ(table.acquire(u"")->text(), u"");
}

// Many texts come and go, so that removals run across probe chains and the table grows;
// every live text must still be found as the same entry.
TEST(SharedStrings, AgreesWithAModelUnderRandomAcquireAndRelease) {
    SharedStringTable table;
    std::map<std::u16string, std::pair<SharedString*, int>> model;
    std::mt19937 random(7);
    for (int step = 0; step < 60000; ++step) {
        std::u16string text = u"SKU-";
        for (char c : std::to_string(random() % 3000)) text.push_back(char16_t(c));
        auto it = model.find(text);
        if (random() % 3 != 0 || it == model.end()) {
            SharedString* entry = table.acquire(text);
            ASSERT_EQ(entry->text(), text);
            if (it != model.end()) {
                ASSERT_EQ(entry, it->second.first);
            }
            auto& slot = model[text];
            slot.first = entry;
            ++slot.second;
        } else {
            table.release(it->second.first);
            if (--it->second.second == 0) model.erase(it);
        }
        ASSERT_EQ(table.size(), model.size());
    }
    for (auto& [text, entry] : model) {
        SharedString* again = table.acquire(text);
        EXPECT_EQ(again, entry.first) << "lost entry for a live text";
        table.release(again);
    }
}

}  // namespace
}  // namespace kes
