// The cover flow under the user's hand.
#include "views/library/ImageFlow.h"
#include "support/Gestures.h"
#include "support/Songs.h"

#include <QSet>
#include <gtest/gtest.h>

namespace {

struct Tracks final : ImageFlowDataSource {
    int count;
    mutable QSet<int> asked;

    explicit Tracks(int number) : count(number) {}
    int numberOfItemsInImageFlow(IKImageFlowView &) const override { return count; }
    SongPtr itemAtIndex(IKImageFlowView &, int index) const override {
        asked.insert(index);
        if (index < 0 || index >= count)
            return nullptr;
        return songWith({.title = QString(100'000, QChar(0x202e)) + "<b>%1\n"});
    }
};

struct User final : ImageFlowDelegate {
    QList<int> selected, opened;

    void didSelectItemAtIndex(IKImageFlowView &flow, int index) override {
        selected.append(index);
        flow.setSelectedIndex(index); // as a table does that follows the flow, and is followed
    }
    void cellWasDoubleClickedAtIndex(IKImageFlowView &, int index) override { opened.append(index); }
};

struct Flow : testing::Test {
    Tracks tracks{100'000};
    User user;
    IKImageFlowView flow{nullptr};
    QPointF middle{356, 77};
    QPointF right{480, 77}; // the cover beside the middle

    Flow() {
        flow.resize(712, IKImageFlowView::kHeight);
        flow.setDataSource(&tracks);
        flow.setDelegate(&user);
    }
};

} // namespace

TEST_F(Flow, KeysMoveAndStopAtTheEnds) {
    flow.setSelectedIndex(50);
    for (const auto &[pressed, index] : {
             std::pair<Qt::Key, int>{Qt::Key_Right, 51},
             {Qt::Key_Left, 50},
             {Qt::Key_PageDown, 55},
             {Qt::Key_End, 99'999},
             {Qt::Key_Right, 99'999},
             {Qt::Key_PageUp, 99'994},
             {Qt::Key_Home, 0},
             {Qt::Key_Left, 0},
         }) {
        press(flow, pressed);
        EXPECT_EQ(flow.selectedIndex(), index) << pressed;
    }
    EXPECT_EQ(user.selected, QList<int>({50, 51, 50, 55, 99'999, 99'994, 0})); // each change is told once
    press(flow, Qt::Key_Return);
    EXPECT_EQ(user.opened, QList<int>{0});
}

TEST_F(Flow, AClickChoosesADragFollowsAndADoubleClickOpensWhatWasHitFirst) {
    flow.show();
    flow.setSelectedIndex(10);
    flow.hide(); // stands still
    click(flow, right);
    EXPECT_EQ(flow.selectedIndex(), 11);
    // By the second press another cover lies under the pointer.
    mouse(flow, QEvent::MouseButtonDblClick, right);
    mouse(flow, QEvent::MouseButtonRelease, right);
    EXPECT_EQ(flow.selectedIndex(), 11);
    EXPECT_EQ(user.opened, QList<int>{11});

    mouse(flow, QEvent::MouseButtonPress, middle);
    mouse(flow, QEvent::MouseMove, middle - QPointF(85, 0));
    EXPECT_EQ(flow.selectedIndex(), 12);
    mouse(flow, QEvent::MouseMove, middle - QPointF(165, 0));
    mouse(flow, QEvent::MouseButtonRelease, middle - QPointF(165, 0));
    EXPECT_EQ(flow.selectedIndex(), 13); // and not the cover that it was let go over
    EXPECT_EQ(flow.indexAt({356, 165}), -1);
}

TEST_F(Flow, AsksOnlyForWhatIsSeen) {
    flow.setSelectedIndex(50'000);
    tracks.asked.clear();
    flow.grab();
    EXPECT_TRUE(tracks.asked.contains(50'000));
    EXPECT_LT(tracks.asked.size(), 15);
}

TEST_F(Flow, KeepsToWhatThereIsAfterAReload) {
    EXPECT_EQ(flow.selectedIndex(), 0);
    flow.setSelectedIndex(1000);
    user.selected.clear();
    mouse(flow, QEvent::MouseButtonPress, right);
    tracks.count = 10;
    flow.reloadData();
    mouse(flow, QEvent::MouseButtonRelease, right); // of a press on what has gone
    EXPECT_EQ(flow.selectedIndex(), 9);
    tracks.count = 0;
    flow.reloadData();
    EXPECT_EQ(flow.selectedIndex(), -1);
    flow.grab();
    press(flow, Qt::Key_Return);
    flow.setSelectedIndex(3);
    click(flow, middle);
    EXPECT_EQ(flow.selectedIndex(), -1);
    EXPECT_TRUE(user.selected.isEmpty() && user.opened.isEmpty());
}
