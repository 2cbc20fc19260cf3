// The strip of the tracks of this run, as its user sees and works it.
#include "demo/RunningProgram.h"
#include "support/Gestures.h"
#include "support/MadePictures.h"
#include "support/Songs.h"
#include "views/controls/SketchButton.h"
#include "views/recording/ImageFlowViewCtr.h"
#include "views/recording/MicrophoneView.h"

#include <QAccessible>
#include <QLabel>
#include <QScrollArea>
#include <QWheelEvent>
#include <gtest/gtest.h>
#include <thread>

namespace {

struct StripTest : testing::Test, ImageFlowViewCtrDelegate {
    void SetUp() override {
        QWidget *strip = ctr.view();
        strip->setParent(&page);
        strip->setGeometry(0, 0, 900, 131);
        page.resize(900, 131);
        page.show();
        ctr.setDelegate(this);
    }

    void findNewRecordItem(const SongPtr &song, bool isPlay) override {
        asked << (isPlay ? "play " : "view ") + song->title();
        meanwhile();
    }
    void getID3WithSongItem(const SongPtr &song) override {
        asked << "identify " + song->title();
        meanwhile();
    }
    bool canIdentify() const override { return identifies; }

    static SongArray songs(int count) {
        SongArray songs;
        for (int i = 0; i < count; ++i)
            songs << songWith({.title = QStringLiteral("Track%1").arg(count - i)});
        return songs;
    }
    /// Shown, and in their places.
    void show(const SongArray &tracks) {
        ctr.setSongItems(tracks);
        settle();
    }
    void settle() {
        QCoreApplication::processEvents();
        flow().layoutSubviewsAnimation(/*animation=*/false);
    }
    ImageFlowView &flow() { return *ctr.imageFlowView(); }
    ImageFlowViewItem &item(int index) { return *ctr.itemAtIndex(flow(), index); }
    QStringList titlesFromTheLeft() {
        QMap<int, QString> titles;
        for (const ImageFlowViewItemPtr &shown : flow().cacheItems())
            titles.insert(shown->view()->x(), shown->title());
        return titles.values();
    }

    QWidget page;
    ImageFlowViewCtr ctr;
    bool identifies = true;
    QStringList asked;
    std::function<void()> meanwhile = [] {};
};

constexpr QPoint kOnCover(50, 40);
constexpr QPoint kOnTitle(50, 98);
constexpr QPoint kBeside(2, 60); // in the item, and on nothing of it

} // namespace

TEST_F(StripTest, ATrackShowsWhenTheCoverOfTheSceneHasComeDownAndSlidesIn) {
    EXPECT_TRUE(page.findChild<QLabel *>()->isVisible());
    EXPECT_EQ(flow().size(), QSize(900, 0));
    const SongArray tracks = songs(2);
    QElapsedTimer time;
    time.start();
    std::thread([&] { ctr.addSongItemOnMainThread(tracks[1]); }).detach(); // waits for this thread
    EXPECT_TRUE(waitUntil([&] { return ctr.countSongItem() == 1; }));
    ctr.addSongItemOnMainThread(tracks[0]);
    ctr.addSongItemOnMainThread(tracks[1]); // is there already
    EXPECT_EQ(ctr.countSongItem(), 2);
    EXPECT_TRUE(flow().cacheItems().isEmpty());
    EXPECT_TRUE(waitUntil([&] { return flow().cacheItems().size() == 2; }));
    EXPECT_GE(time.elapsed(), 2250);
    EXPECT_TRUE(waitUntil([] { return SceneClock::shared().isTicking(); }));
    EXPECT_TRUE(page.findChild<QLabel *>()->isHidden());
    EXPECT_EQ(flow().size(), QSize(900, 131));
    EXPECT_LT(item(0).view()->x(), 0);
    int x = -110;
    for (const int ms : {5000, 5500, 6000, 6500}) {
        flow().tick(ms);
        EXPECT_GE(item(0).view()->x(), x);
        x = item(0).view()->x();
    }
    EXPECT_LT(x, 20);
    flow().tick(7000);
    EXPECT_EQ(item(0).view()->geometry(), QRect(20, 0, 110, 131));
    EXPECT_EQ(titlesFromTheLeft(), QStringList({"Track2", "Track1"}));
    EXPECT_FALSE(SceneClock::shared().isTicking());
}

TEST_F(StripTest, LeavesNoGapWhereATrackGoesAndTakesBackWhatComesAgain) {
    const SongArray tracks = songs(12);
    page.setLayoutDirection(Qt::RightToLeft); // has no say in where the strip begins
    show(tracks);
    EXPECT_EQ(flow().width(), 20 + 12 * 110 + 10);
    click(*item(1).view(), kOnCover);
    ctr.removeSongItemOnMainThread(tracks[1]);
    ctr.removeSongItemOnMainThread(tracks[1]);
    ctr.updateSongItemOnMainThread(tracks[1]);
    EXPECT_EQ(flow().selectItem(), nullptr);
    settle();
    EXPECT_EQ(item(1).view()->x(), 130);
    EXPECT_EQ(item(1).title(), "Track10");
    show(tracks);
    EXPECT_EQ(titlesFromTheLeft(), titlesOf(tracks));
    QWheelEvent wheel({300, 60}, page.mapToGlobal(QPoint(300, 60)), {}, {0, -240}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, /*inverted=*/false);
    QApplication::sendEvent(page.findChild<QScrollArea *>()->viewport(), &wheel);
    EXPECT_EQ(flow().pos(), QPoint(-240, 0));
    show({});
    EXPECT_EQ(flow().size(), QSize(900, 0));
}

TEST_F(StripTest, ShowsHowFarTheIdentificationIs) {
    const SongPtr song = songWith({.title = "Track1"});
    show({song});
    for (const auto &[status, isButtonShown, isEnabled, isBusy] : {
             std::tuple<int32_t, bool, bool, bool>{0, true, true, false},
             {1, true, false, false},
             {0, true, true, false}, // given up: it can be asked for again
             {2, false, false, true},
             {9, false, false, true}, // unknown: as it was
             {4, false, false, true},
             {5, false, true, true},
             {3, false, true, false},
             {0, false, true, false}, // for good
             {1, true, false, false},
             {0, true, true, false}, // but for waiting once more
             {6, false, true, false},
             {0, false, true, false},
         }) {
        SCOPED_TRACE(status);
        song->setGetID3Status(status);
        ctr.updateSongItemOnMainThread(song);
        EXPECT_EQ(!item(0).id3Button()->isHidden(), isButtonShown);
        EXPECT_EQ(item(0).id3Button()->isEnabled(), isEnabled);
        EXPECT_EQ(!item(0).progress()->isHidden(), isBusy);
        EXPECT_EQ(item(0).waitTitle(), isBusy ? "Identifying..." : QString());
        EXPECT_TRUE(!isBusy || item(0).progress()->isAnimating());
        EXPECT_EQ(item(0).id3Button()->shownImage(),
                  status == 1 ? "waitingForRecord_def" : item(0).id3Button()->shownImage());
    }
    identifies = false;
    show({songWith({.title = "Track2"})});
    EXPECT_TRUE(item(0).id3Button()->isHidden()) << "there is nobody to ask";
    identifies = true;
    ctr.canIdentifyDidChange();
    EXPECT_FALSE(item(0).id3Button()->isHidden());
}

TEST_F(StripTest, AClickChoosesAndTheButtonsAsk) {
    show(songs(3));
    const auto chosen = [&] { return flow().selectItem() ? flow().selectItem()->title() : QString(); };
    click(*item(0).view(), kOnCover);
    EXPECT_EQ(chosen(), "Track3");
    click(*item(1).view(), kOnTitle);
    EXPECT_EQ(chosen(), "Track2");
    EXPECT_FALSE(item(0).isHighLight());
    click(*item(1).view(), {5, 60}); // what is highlighted is hit as a whole
    EXPECT_EQ(chosen(), "Track2");
    doubleClick(*item(2).view(), kBeside);
    EXPECT_EQ(chosen(), QString());
    EXPECT_TRUE(asked.isEmpty());
    doubleClick(*item(2).view(), kOnCover);
    click(flow(), {700, 60});
    EXPECT_EQ(chosen(), QString());
    item(0).viewButton()->click();
    EXPECT_EQ(chosen(), "Track3");
    meanwhile = [this] { ctr.setSongItems({}); }; // what it leads to takes the item away
    item(1).id3Button()->click();
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, QStringList({"play Track1", "view Track3", "identify Track2"}));
    EXPECT_EQ(flow().selectItem(), nullptr);
}

TEST_F(StripTest, TheKeyboardAloneAndAScreenReaderDoWhatTheMouseDoes) {
    show(songs(500));
    QLabel before("before", &page);
    before.setFocusPolicy(Qt::StrongFocus);
    before.show();
    QWidget::setTabOrder(&before, &flow());
    page.activateWindow();
    before.setFocus();
    const auto tab = [&] { press(*QApplication::focusWidget(), Qt::Key_Tab); };
    const auto key = [&](int k) { press(*QApplication::focusWidget(), k); };
    EXPECT_TRUE(waitUntil([&] { return before.hasFocus(); }));
    tab();
    EXPECT_EQ(flow().selectItem(), &item(0));
    for (const int k : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_Return, Qt::Key_Space})
        key(k);
    EXPECT_EQ(asked, QStringList({"view Track499", "play Track499"}));
    tab();
    EXPECT_EQ(QApplication::focusWidget(), item(1).viewButton());
    tab();
    key(Qt::Key_Space);
    EXPECT_EQ(asked.last(), "identify Track499");
    item(1).view()->setFocus();
    key(Qt::Key_End);
    EXPECT_EQ(flow().selectItem(), &item(499));
    EXPECT_EQ(flow().x() + flow().width(), 900) << "it has been scrolled to";
    EXPECT_TRUE(item(0).view()->visibleRegion().isEmpty());
    key(Qt::Key_Home);
    EXPECT_LE(-flow().x(), 20);

    QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&flow());
    EXPECT_EQ(list->role(), QAccessible::List);
    QAccessibleInterface *first = QAccessible::queryAccessibleInterface(item(0).view());
    EXPECT_EQ(first->role(), QAccessible::ListItem);
    EXPECT_EQ(first->text(QAccessible::Name), "Track500, Somebody");
    EXPECT_TRUE(first->state().selected);
    first->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(waitUntil([&] { return asked.last() == "view Track500"; }));
}

TEST_F(StripTest, ShowsTheCoverOnceItHasBeenRead) {
    const QString broken = makeFile("broken.jpg", "\xff\xd8 no more");
    const SongPtr song = songWith({.title = "<b>Track1</b>\n\u202e"});
    song->setCoverImages({makePicture("cover.png", Qt::red, {300, 150}), broken});
    show({song});
    EXPECT_EQ(item(0).imageName(), "Sound.png"); // its index is -1
    EXPECT_EQ(item(0).title(), "<b>Track1</b>");
    const auto choose = [&](int32_t index) {
        song->setCoverImageIndex(index);
        ctr.updateSongItemOnMainThread(song);
    };
    choose(0);
    EXPECT_TRUE(waitUntil([&] { return item(0).imageName().isNull(); }));
    EXPECT_EQ(item(0).image().size(), QSize(80, 40));
    choose(1);
    EXPECT_FALSE(item(0).image().isNull()) << "what it showed before, until then";
    EXPECT_TRUE(waitUntil([&] { return item(0).image().isNull(); }));
    EXPECT_EQ(song->coverImageIndex(), -1);
    EXPECT_TRUE(item(0).imageName().isNull()) << "empty until the next update";
    ctr.updateSongItemOnMainThread(song);
    EXPECT_EQ(item(0).imageName(), "Sound.png");
    choose(7); // there is no such cover
    EXPECT_EQ(item(0).imageName(), "Sound.png");
    choose(0);
    ctr.removeSongItemOnMainThread(song); // before it has been read
}
