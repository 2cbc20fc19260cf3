// The tree of categories: what can be chosen and what cannot.
#include "views/library/CategoryViewCtr.h"
#include "platform/run/NotificationCenter.h"
#include "views/library/MyOutlineView.h"

#include <QApplication>
#include <QKeyEvent>
#include <gtest/gtest.h>

namespace {

struct Library final : CategoryViewCtrDelegate {
    QStringList shown;

    void outlineViewSelectionDidChange(const OutlineItem &item) override { shown.append(item.category); }
    int badgeCount(int row) const override { return row == 2 ? 1'234'567 : row == 3 ? 0 : row; }
};

struct Categories : testing::Test {
    Library library;
    CategoryViewCtr categories{library};
    MyOutlineView &tree = *categories.outlineView();

    Categories() {
        categories.view()->resize(CategoryViewCtr::kWidth, 501);
        categories.view()->show();
    }
    void key(Qt::Key key) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, key == Qt::Key_Space ? " " : "");
        QApplication::sendEvent(&tree, &press);
    }
    void click(const QPoint &point, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, point, tree.viewport()->mapToGlobal(point), Qt::LeftButton, Qt::LeftButton,
                              modifiers);
            QApplication::sendEvent(tree.viewport(), &event);
        }
    }
    QPoint middleOf(int row) const { return tree.visualRect(tree.indexOfRow(row)).center(); }
};

} // namespace

TEST_F(Categories, KeysPassOverTheHeadersAndSomethingIsAlwaysChosen) {
    EXPECT_EQ(categories.selectedRow(), 1);
    EXPECT_TRUE(library.shown.isEmpty());
    struct Case {
        Qt::Key pressed;
        int row;
    };
    for (const auto &[pressed, row] : {
             Case{Qt::Key_Up, 1},
             Case{Qt::Key_Down, 2},
             Case{Qt::Key_Left, 2}, // nothing folds
             Case{Qt::Key_Minus, 2},
             Case{Qt::Key_Down, 3},
             Case{Qt::Key_Down, 5},
             Case{Qt::Key_Down, 5},
             Case{Qt::Key_Up, 3},
             Case{Qt::Key_Home, 1},
             Case{Qt::Key_End, 5},
         }) {
        SCOPED_TRACE(pressed);
        key(pressed);
        EXPECT_EQ(categories.selectedRow(), row);
        EXPECT_EQ(tree.selectionModel()->selectedIndexes(), QModelIndexList{tree.indexOfRow(row)});
    }
}

TEST_F(Categories, ClicksChooseRowsAndNothingElse) {
    struct Case {
        const char *name;
        QPoint point;
        Qt::KeyboardModifiers modifiers;
        int row;
    };
    for (const auto &[name, point, modifiers, row] : {
             Case{"a row", middleOf(3), Qt::NoModifier, 3},
             Case{"the row that is chosen, to take it back", middleOf(3), Qt::ControlModifier, 3},
             Case{"a header", middleOf(4), Qt::NoModifier, 3},
             Case{"below all rows", {60, 400}, Qt::NoModifier, 3},
             Case{"the last row", middleOf(5), Qt::ShiftModifier, 5},
         }) {
        SCOPED_TRACE(name);
        click(point, modifiers);
        EXPECT_EQ(categories.selectedRow(), row);
        EXPECT_EQ(tree.selectionModel()->selectedIndexes(), QModelIndexList{tree.indexOfRow(row)});
    }
    for (const int row : {5, 0, 4, -1, 6}) // chosen already, or not to be chosen
        categories.selectRow(row);
    categories.selectRow(2);
    EXPECT_EQ(library.shown, QStringList({"Untagged Music", "Music ToolKit", "All Music"}));
}

TEST_F(Categories, SpaceIsToldOnce) {
    int count = 0;
    NotificationCenter::defaultCenter().addObserver(&tree, "SpaceDownNotification",
                                                    [&](const Notification &) { ++count; });
    key(Qt::Key_Space);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(categories.selectedRow(), 1);
}

TEST_F(Categories, ReadOutTheirCountsAndStayTwoAtTheTop) {
    tree.grab();
    const auto spoken = [&](int row) { return tree.indexOfRow(row).data(Qt::AccessibleTextRole).toString(); };
    EXPECT_EQ(spoken(1), "Newly Recorded, 1");
    EXPECT_EQ(spoken(2), "All Music, " + QLocale().toString(1'234'567));
    EXPECT_EQ(spoken(3), "Untagged Music");

    OutlineItem root;
    for (int i = 0; i < 3; ++i)
        root.childs.append(std::make_shared<OutlineItem>());
    root.childs.first()->childs.append(std::make_shared<OutlineItem>());
    const MyOutlineView other(root, library, /*parent=*/nullptr);
    EXPECT_EQ(other.model()->rowCount(), 2);
}
