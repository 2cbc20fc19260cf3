// Playback on a real sound server, through the lists of the library page.
#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "platform/desktop/Panel.h"
#include "support/MadeAudio.h"
#include "support/PageViews.h"
#include "support/Songs.h"
#include "views/library/MyTableView.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class PlayCtrTest : public testing::Test, protected PageViews, public LibraryCtrDelegate {
protected:
    void SetUp() override {
        setPanelAnswerer([this](const Panel &) {
            ++questions;
            return PanelAnswer{1, false};
        });
        ASSERT_TRUE(server.start()) << qPrintable(server.errorText());
        SongArray songs;
        for (const char *name : {"a.mp3", "b.mp3", "c.m4a", "Track d.mp3"})
            songs.append(songWith({.title = name, .path = makeTone(name), .length = 1000}));
        a = songs[0], b = songs[1], c = songs[2], d = songs[3];
        library.takeTracks(TrackLists(songs));
        go(2);
    }
    void TearDown() override { setPanelAnswerer({}); }
    bool isRecording() const override { return records; }
    void showPlayView(bool isSpectrum) override { showsSpectrum = isSpectrum; }

    void go(int row) { library.categoryViewCtr().selectRow(row); }
    PlayCtr &player() { return library.playCtr(); }
    void start(int row) {
        library.listViewCtr().tableView()->selectRowIndexes({row});
        player().play();
    }
    bool waitForItem(const SongPtr &song) {
        return waitUntil([&] { return player().playItem() == song; });
    }
    QString picture() const { return playBtn.shownImage(); }

    QTemporaryDir folder{"/tmp/corvidia-XXXXXX"};
    PrivateSoundServer server{PrivateSoundServer::Kind::PulseAudio, folder.path()};
    LibraryCtr library{*this, all()};
    SongPtr a, b, c, d;
    int questions = 0;
    bool records = false;
    bool showsSpectrum = false;
};

int statusOf(const SongPtr &song) { return song->status(); }

} // namespace

TEST_F(PlayCtrTest, PlaysOnToTheEndOfItsListAndPassesOverWhatIsMissing) {
    ASSERT_TRUE(QFile::remove(b->songPath()));
    start(0);
    EXPECT_EQ(player().playItem(), a);
    EXPECT_EQ(picture(), "pause_on");
    EXPECT_FALSE(showsSpectrum);
    EXPECT_EQ(statusOf(a), 2);
    ASSERT_TRUE(waitForItem(c));
    EXPECT_EQ(statusOf(a), 0);
    EXPECT_EQ(statusOf(b), 1);
    EXPECT_EQ(questions, 0);
    ASSERT_TRUE(waitForItem(d));
    ASSERT_TRUE(waitForItem(nullptr));
    EXPECT_FALSE(player().isPlaying());
    EXPECT_TRUE(player().playInCategory().isNull());
    EXPECT_EQ(picture(), "Play");
    EXPECT_TRUE(showsSpectrum);
}

TEST_F(PlayCtrTest, GoesOnInItsOwnListWhileAnotherCategoryIsShown) {
    start(0);
    go(1);
    EXPECT_EQ(picture(), "stop_on");
    EXPECT_EQ(statusOf(a), 0);
    ASSERT_TRUE(waitForItem(b)); // out of the list that was left
    go(2);
    EXPECT_EQ(picture(), "pause_on");
    EXPECT_EQ(statusOf(b), 2);
    // The second change takes the list between, in which the track is not: it is the last one.
    go(1);
    go(3);
    ASSERT_TRUE(waitForItem(nullptr));
    // Where another category is shown the button stops.
    go(2);
    start(1);
    go(3);
    player().play();
    EXPECT_EQ(player().playItem(), nullptr);
}

TEST_F(PlayCtrTest, EndsAPausedTrackWithItsCategory) {
    start(2);
    player().play();
    EXPECT_EQ(statusOf(c), 3);
    EXPECT_EQ(picture(), "Play");
    player().play();
    EXPECT_EQ(statusOf(c), 2);
    player().play();
    go(3);
    EXPECT_EQ(player().playItem(), nullptr);
    EXPECT_EQ(statusOf(c), 0);
}

TEST_F(PlayCtrTest, ParksAtTheEndWhilePausedAndMovesOnWhilePlaying) {
    start(0);
    player().setPlayTime(5e6);
    EXPECT_EQ(player().playItem(), b);
    player().play();
    player().setPlayTime(5e6);
    EXPECT_EQ(player().playItem(), b);
    player().play();
    EXPECT_EQ(player().playItem(), c);
    EXPECT_TRUE(player().isPlaying());
}

TEST_F(PlayCtrTest, StartsNothingWhileRecordingNorWithoutAFile) {
    start(0);
    ASSERT_TRUE(QFile::remove(d->songPath()));
    go(3);
    // The category moves although the file is gone, and what plays goes on.
    library.listViewCtr().tableView()->selectRowIndexes({0});
    player().doubleClickForPlay();
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(player().playItem(), a);
    EXPECT_EQ(player().playInCategory(), "Untagged Music");
    EXPECT_EQ(statusOf(d), 1);
    player().stopPlay();
    go(2);
    records = true;
    player().doubleClickForPlay();
    start(1);
    EXPECT_EQ(player().playItem(), nullptr);
    EXPECT_FALSE(player().changePlayStatus());
}
