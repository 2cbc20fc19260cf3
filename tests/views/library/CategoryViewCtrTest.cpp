// The tree of categories: what can be chosen and what cannot.
#include "views/library/CategoryViewCtr.h"
#include "platform/run/NotificationCenter.h"
#include "support/Gestures.h"
#include "views/library/MyOutlineView.h"

#include <gtest/gtest.h>

namespace {

struct Library final : CategoryViewCtrDelegate {
    QStringList shown;

    void outlineViewSelectionDidChange(const OutlineItem &item) override { shown.append(item.category); }
    int badgeCount(int row) const override { return row; }
};

struct Categories : testing::Test {
    Library library;
    CategoryViewCtr categories{library};
    MyOutlineView &tree = *categories.outlineView();

    Categories() {
        categories.view()->resize(CategoryViewCtr::kWidth, 501);
        categories.view()->show();
    }
    QPoint middleOf(int row) const { return tree.visualRect(tree.indexOfRow(row)).center(); }
};

} // namespace

TEST_F(Categories, KeysPassOverTheHeadersAndSomethingIsAlwaysChosen) {
    int spaces = 0;
    NotificationCenter::defaultCenter().addObserver(&tree, "SpaceDownNotification",
                                                    [&](const Notification &) { ++spaces; });
    press(tree, Qt::Key_Space, {}, " "); // plays, and chooses nothing
    EXPECT_EQ(spaces, 1);
    EXPECT_EQ(categories.selectedRow(), 1);
    EXPECT_TRUE(library.shown.isEmpty());
    for (const auto &[pressed, row] : {
             std::pair<Qt::Key, int>{Qt::Key_Up, 1},
             {Qt::Key_Down, 2},
             {Qt::Key_Left, 2}, // nothing folds
             {Qt::Key_Minus, 2},
             {Qt::Key_Down, 3},
             {Qt::Key_Down, 5},
             {Qt::Key_Down, 5},
             {Qt::Key_Up, 3},
             {Qt::Key_Home, 1},
             {Qt::Key_End, 5},
         }) {
        SCOPED_TRACE(pressed);
        press(tree, pressed);
        EXPECT_EQ(categories.selectedRow(), row);
        EXPECT_EQ(tree.selectionModel()->selectedIndexes(), QModelIndexList{tree.indexOfRow(row)});
    }
}

TEST_F(Categories, ClicksChooseRowsAndNothingElse) {
    for (const auto &[name, point, modifiers, row] : {
             std::tuple<const char *, QPoint, Qt::KeyboardModifiers, int>{"a row", middleOf(3), Qt::NoModifier, 3},
             {"the row that is chosen, to take it back", middleOf(3), Qt::ControlModifier, 3},
             {"a header", middleOf(4), Qt::NoModifier, 3},
             {"below all rows", {60, 400}, Qt::NoModifier, 3},
             {"the last row", middleOf(5), Qt::ShiftModifier, 5},
         }) {
        SCOPED_TRACE(name);
        click(*tree.viewport(), point, modifiers);
        EXPECT_EQ(categories.selectedRow(), row);
        EXPECT_EQ(tree.selectionModel()->selectedIndexes(), QModelIndexList{tree.indexOfRow(row)});
    }
    for (const int row : {5, 0, 4, -1, 6}) // chosen already, or not to be chosen
        categories.selectRow(row);
    categories.selectRow(2);
    EXPECT_EQ(library.shown, QStringList({"Untagged Music", "Music ToolKit", "All Music"}));
}
