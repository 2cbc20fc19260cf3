#include "library/TrackRemoval.h"

#include "platform/files/Folders.h"
#include "store/DataBaseManager.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"
#include "support/Songs.h"
#include "views/dialogs/BusyTurns.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

struct TrackRemovalTest : testing::Test {
    void SetUp() override {
        ASSERT_TRUE(QDir().mkpath(coverImageFolder()));
        for (int i = 0; i < 5; ++i)
            all << made(QString::number(i));
        lists.takeTracks(TrackLists(all));
        *lists.newRecordArray() = {all[1], all[3]};
    }
    static SongPtr made(const QString &title) {
        SongPtr song = songWith({.title = title, .path = makeFile(title + ".mp3", title.toStdString())});
        song->setCoverImages({makeFile(title + ".png", "picture of " + title.toStdString())});
        song->setCoverImageIndex(0);
        song->setAddedDate(QDateTime::currentDateTimeUtc().addSecs(-title.toInt()));
        song->setSongID(DataBaseManager::defaultManager().insertSongItem(*song));
        return song;
    }
    /// As the library does it.
    void remove(const SongArray &songs, SongArray &shown) {
        removal.emplace(songs, lists, shown);
        for (const SongPtr &song : songs) {
            removal->keepCovers(*song);
            TrashedFile file;
            ASSERT_TRUE(moveToTrash(song->songPath(), nullptr, &file));
            removal->didTrash(*song, file);
            shown.removeAll(song);
        }
        DataBaseManager::defaultManager().deleteSongItems(songs);
        lists.remove(songs);
    }
    SongArray undo(const SharedSongArray &shown, bool isUnfinished = false) {
        BusyTurns turns(/*window=*/nullptr, {}, removal->count());
        SongArray back = removal->bringBack(turns);
        EXPECT_EQ(removal->isUnfinished(), isUnfinished);
        removal->restore(back, lists, shown);
        return back;
    }
    static QString titles(const SongArray &songs) { return titlesOf(songs).join(QString()); }
    QString inDatabase() const {
        QStringList rows;
        for (const auto stored = DataBaseManager::defaultManager().getAllSongItems(); const SongPtr &row : *stored)
            rows << row->title() + ' ' + QString::fromStdString(bytesOf(row->imagePath()));
        rows.sort();
        return rows.join(", ");
    }

    SongArray all;
    TrackLists lists;
    std::optional<TrackRemoval> removal;
};

} // namespace

TEST_F(TrackRemovalTest, PutsEachTrackBackWhereItStoodAndLeavesAwayWhatTheTrashHasLost) {
    const auto shown = std::make_shared<SongArray>(SongArray{all[4], all[3], all[1]});
    all[1]->setGetID3Status(static_cast<int32_t>(ID3Status::Searching));
    remove({all[0], all[1], all[3], all[4]}, *shown);
    EXPECT_EQ(inDatabase(), "2 picture of 2");
    lists.insertNewRecording(made("9"));
    makeFile("3.mp3", "another one");
    QFile::remove(inHome(".local/share/Trash/files/0.mp3"));
    EXPECT_EQ(titles(undo(shown)), "134");
    EXPECT_EQ(titles(*lists.allSongArray()), "91234");
    EXPECT_EQ(titles(*lists.newRecordArray()), "913");
    EXPECT_EQ(titles(*shown), "431");
    EXPECT_EQ(inDatabase(), "1 picture of 1, 2 picture of 2, 3 picture of 3, 4 picture of 4, 9 picture of 9");
    EXPECT_EQ(all[1]->getID3Status(), static_cast<int32_t>(ID3Status::NotAsked)) << "no queue has it any more";
    EXPECT_EQ(all[3]->songPath(), inHome("3 2.mp3"));
    EXPECT_EQ(lists.search(lists.allSongArray(), "3")->size(), 1);
    removal.reset();
    EXPECT_EQ(QDir(coverImageFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 5);
}

TEST_F(TrackRemovalTest, LeavesTheFilesInTheTrashUntilTheLibraryHasRoom) {
    const SharedSongArray shown = lists.allSongArray();
    remove({all[1], all[3]}, *shown);
    EXPECT_EQ(titles(withoutRoom([&] { return undo(shown, /*isUnfinished=*/true); })), "");
    EXPECT_EQ(titles(*shown), "024");
    EXPECT_EQ(inDatabase(), "0 picture of 0, 2 picture of 2, 4 picture of 4");
    EXPECT_TRUE(QFile::exists(inHome(".local/share/Trash/files/3.mp3")));
    EXPECT_FALSE(QFile::exists(all[3]->songPath()));
    ASSERT_EQ(system("sqlite3 \"$HOME/.local/share/Tessarine Corvidia/Library.db\" 'ALTER TABLE Song RENAME TO Away'"),
              0);
    EXPECT_EQ(titles(undo(shown, /*isUnfinished=*/true)), "") << "no row is taken, and their numbers are the same";
    ASSERT_EQ(system("sqlite3 \"$HOME/.local/share/Tessarine Corvidia/Library.db\" 'ALTER TABLE Away RENAME TO Song'"),
              0);
    EXPECT_EQ(titles(undo(shown)), "13");
    EXPECT_EQ(titles(*shown), "01234");
    EXPECT_EQ(inDatabase(), "0 picture of 0, 1 picture of 1, 2 picture of 2, 3 picture of 3, 4 picture of 4");
    removal.reset();
    EXPECT_EQ(QDir(coverImageFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 5);
}
