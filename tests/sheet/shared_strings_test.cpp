#include "sheet/shared_strings.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

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

// Many texts come and go, one by one and in batches (with repeats inside a batch, and batches
// that make the table grow), so that removals run across probe chains; every live text must
// still be found as the same entry.
TEST(SharedStrings, AgreesWithAModelUnderRandomAcquireAndRelease) {
    SharedStringTable table;
    std::map<std::u16string, std::pair<SharedString*, int>> model;
    std::mt19937 random(7);
    const auto someText = [&] {
        std::u16string text = u"SKU-";
        for (char c : std::to_string(random() % 3000)) text.push_back(char16_t(c));
        return text;
    };
    const auto acquired = [&](const std::u16string& text, SharedString* entry) {
        ASSERT_EQ(entry->text(), text);
        auto& slot = model[text];
        if (slot.first) {
            ASSERT_EQ(entry, slot.first);
        }
        slot.first = entry;
        ++slot.second;
    };
    SharedStringBatch batch;
    for (int step = 0; step < 60000; ++step) {
        std::u16string text = someText();
        auto it = model.find(text);
        if (step % 50 == 0) {
            std::vector<std::u16string> texts;
            for (size_t n = random() % 150; texts.size() < n;) texts.push_back(random() % 4 ? someText() : texts.empty() ? u"" : texts[0]);
            for (const auto& t : texts) batch.add(t);
            if (step % 100 == 0) batch.prefetch(table);   // some hashed ahead, some not
            std::vector<SharedString*> entries(texts.size());
            batch.acquire(table, entries.data());
            ASSERT_TRUE(batch.empty());
            for (size_t i = 0; i < texts.size(); ++i) acquired(texts[i], entries[i]);
        } else if (random() % 3 != 0 || it == model.end()) {
            acquired(text, table.acquire(text));
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
