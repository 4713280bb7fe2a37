#include "sheet/formula/cell_address.h"

#include <gtest/gtest.h>

namespace kes::formula {
namespace {

TEST(CellAddress, ConvertsColumnLettersBothWays) {
    struct Case { std::u16string_view letters; int32_t column; };
    const Case cases[] = {
        {u"A", 0}, {u"Z", 25}, {u"AA", 26}, {u"AZ", 51}, {u"BA", 52}, {u"ZZ", 701}, {u"AAA", 702}, {u"XFD", 16383},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(columnIndex(c.letters), c.column);
        EXPECT_EQ(columnLetters(c.column), c.letters);
    }
    EXPECT_EQ(columnIndex(u"xfd"), 16383);
    for (std::u16string_view bad : {u"", u"XFE", u"ZZZ", u"AAAA", u"A1", u"中", u"$A"}) {
        EXPECT_EQ(columnIndex(bad), std::nullopt) << bad.size();
    }
}

TEST(CellAddress, ScansOnlyAddressesInsideTheSheet) {
    struct Case { std::u16string_view text; size_t end; CellAddress address; };
    const Case cases[] = {
        {u"A1", 2, {0, 0, false, false}},
        {u"$B$2+1", 4, {1, 1, true, true}},
        {u"c$3", 3, {2, 2, true, false}},
        {u"$XFD1048576", 11, {1048575, 16383, false, true}},
        {u"A0001", 5, {0, 0, false, false}},
        {u"XFE1", 0, {}},
        {u"A1048577", 0, {}},
        {u"A0", 0, {}},
        {u"A", 0, {}},
        {u"1", 0, {}},
        {u"$$A1", 0, {}},
        {u"A$", 0, {}},
        {u"A99999999999999999999", 0, {}},
    };
    for (const auto& c : cases) {
        CellAddress address;
        const size_t end = scanCellAddress(c.text, 0, address);
        EXPECT_EQ(end, c.end) << c.text.size();
        if (c.end != 0) {
            EXPECT_EQ(address, c.address);
        }
    }
}

TEST(CellAddress, WritesAddressesWithTheirDollarSigns) {
    struct Case { CellAddress address; std::u16string_view text; };
    const Case cases[] = {
        {{0, 0, false, false}, u"A1"},
        {{0, 0, true, true}, u"$A$1"},
        {{9, 27, true, false}, u"AB$10"},
        {{1048575, 16383, false, true}, u"$XFD1048576"},
    };
    for (const auto& c : cases) {
        std::u16string text;
        appendCellAddress(text, c.address);
        EXPECT_EQ(text, c.text);
    }
}

}  // namespace
}  // namespace kes::formula
