#include "sheet/selection.h"

#include <gtest/gtest.h>

#include "sheet/sheet_bounds.h"

namespace kes {
namespace {

TEST(Selection, AreaIsTheSingleAreaOrTheBoundsOfAllAreasAndTheFocus) {
    SheetSelection s;
    EXPECT_EQ(s.area(), (CellRect{0, 0, 0, 0}));

    s.selectRange({1, 3, 4, 7}, 5, 2);   // focus inside, lower than the top
    EXPECT_EQ(s.area().top, 3);
    EXPECT_EQ(s.area().left, 1);
    EXPECT_EQ(s.focusedRow(), 5);

    s.addArea({6, 10, 6, 12});
    EXPECT_EQ(s.area(), (CellRect{1, 3, 6, 12}));
}

TEST(Selection, FocusIsClampedAndShiftExtendsFromTheAnchor) {
    SheetSelection s;
    s.setFocused(-5, 20000);
    EXPECT_EQ(s.focusedRow(), 0);
    EXPECT_EQ(s.focusedColumn(), kMaxColumn);
    s.setFocused(2000000, -1);
    EXPECT_EQ(s.focusedRow(), kMaxRow);
    EXPECT_EQ(s.focusedColumn(), 0);

    s.setFocused(4, 4);
    s.setFocused(2, 6, true);
    EXPECT_EQ(s.area(), (CellRect{4, 2, 6, 4}));
    s.setFocused(8, 1, true);
    EXPECT_EQ(s.area(), (CellRect{1, 4, 4, 8}));
    s.setFocused(0, 0);
    EXPECT_EQ(s.areas().size(), 1u);
    EXPECT_EQ(s.area(), (CellRect{0, 0, 0, 0}));
}

}  // namespace
}  // namespace kes
