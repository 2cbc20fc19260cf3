// Missing tracks: taken out, or found again.
#include "views/library/MusicToolKitView.h"
#include "platform/desktop/Panel.h"
#include "support/Gestures.h"
#include "support/Songs.h"
#include "views/library/MissingTracksView.h"

#include <gtest/gtest.h>

namespace {

struct Library final : MusicToolKitViewDelegate {
    int searches = 0;
    SongArray removed;
    QStringList located;

    void findMissingTracks() override { ++searches; }
    void removeTracks(const SongArray &songs) override { removed += songs; }
    void locateTrack(const SongPtr &song, const QString &path) override { located += song->title() + '=' + path; }
};

struct ToolKit : testing::Test {
    Library library;
    MusicToolKitView page{library, /*parent=*/nullptr};
    MissingTracksView &list = *page.missingTracksView();
    int questions = 0;
    int answer = 1;

    ToolKit() {
        setPanelAnswerer([this](const Panel &) { return ++questions, PanelAnswer{.button = answer}; });
        page.show();
    }
    void find(int count) {
        SongArray songs;
        QStringList candidates; // for every other one, and none for the last
        for (int i = 0; i < count; ++i) {
            songs.append(songWith({.title = QString::number(i)}));
            if (i < count - 1)
                candidates.append(i % 2 ? QString("/new/%1").arg(i) : QString());
        }
        page.showMissing(songs, candidates);
    }
    QPushButton &button(const QString &title) { return buttonOf(page, title); }
    QStringList left() const {
        QStringList titles;
        for (const MissingTrack &track : list.tracks())
            titles.append(track.song->title());
        return titles;
    }
};

} // namespace

TEST_F(ToolKit, HandlesOneTrackAfterTheOther) {
    button("Find missing tracks").click();
    button("Find missing tracks").click(); // one search at a time
    EXPECT_EQ(library.searches, 1);
    EXPECT_FALSE(list.isVisible());
    find(5);
    EXPECT_TRUE(list.isVisible() && button("Find missing tracks").isEnabled());
    EXPECT_FALSE(button("Take out of the library").isEnabled()); // nothing is chosen yet

    list.setCurrentIndex(list.model()->index(2, 0));
    EXPECT_FALSE(button("Accept the new place").isEnabled());
    press(list, Qt::Key_Return); // nor by the keyboard
    EXPECT_TRUE(library.located.isEmpty());
    press(list, Qt::Key_Delete);
    EXPECT_EQ(library.removed.size(), 1);
    EXPECT_EQ(left(), QStringList({"0", "1", "3", "4"}));
    EXPECT_EQ(list.currentIndex().data(), "3 · Somebody"); // the next one is at hand
    button("Accept the new place").click();
    EXPECT_EQ(library.located, QStringList("3=/new/3"));
    EXPECT_EQ(left(), QStringList({"0", "1", "4"}));
}

TEST_F(ToolKit, AsksBeforeItTakesManyOut) {
    find(5);
    button("Accept all new places").click();
    EXPECT_EQ(library.located, QStringList({"1=/new/1", "3=/new/3"}));
    EXPECT_EQ(left(), QStringList({"0", "2", "4"}));
    EXPECT_FALSE(button("Accept all new places").isEnabled());
    button("Take all out").click();
    EXPECT_TRUE(library.removed.isEmpty());
    answer = 0;
    button("Take all out").click();
    EXPECT_EQ(library.removed.size(), 3);
    EXPECT_EQ(questions, 2);
    EXPECT_FALSE(list.isVisible());
}
