#include "tags/access/FirstTags.h"

#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "support/MadeAudio.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QDir>
#include <QImage>
#include <gtest/gtest.h>

TEST(FirstTags, OfARecordingHaveDefaultsForWhatIsAbsentAndOneCover) {
    setLogSink([](const QString &) {});
    QImage blue(8, 8, QImage::Format_RGB32);
    blue.fill(Qt::blue);
    ASSERT_TRUE(blue.save(inHome("blue.png")));
    SongItem song;
    song.setSongPath(makeTone("a.mp3"));
    song.setTitle({});
    song.setArtist("");
    song.setYear("2026");
    song.setGenre({});
    song.setCoverImages({inHome("blue.png")});
    song.setCoverImageIndex(0);
    ASSERT_TRUE(QDir().mkpath(coverImageFolder()));
    ASSERT_TRUE(DataBaseManager::defaultManager().loadDataBase(inHome("Library.db")));
    song.setSongID(DataBaseManager::defaultManager().insertSongItem(song));

    writeID3(song);
    const auto info = TagLibHelper::ID3Info(song.songPath());
    ASSERT_TRUE(info);
    EXPECT_EQ((*info)["title"], "Unknown Title");
    EXPECT_EQ((*info)["artist"], "");
    EXPECT_EQ((*info)["album"], "Unknown Album");
    EXPECT_EQ((*info)["genre"], "Unknown Genre");
    EXPECT_EQ((*info)["year"], 2026);
    ASSERT_EQ((*info)["cover"].toList().size(), 1);
    EXPECT_GT(qBlue((*info)["cover"].toList().first().value<QImage>().pixel(3, 3)), 240);
    EXPECT_EQ(song.size(), AudioConverter::getFileSize(song.songPath()));
    const auto songs = DataBaseManager::defaultManager().getAllSongItems();
    ASSERT_TRUE(songs && songs->size() == 1);
    EXPECT_EQ(songs->first()->size(), song.size());
    setLogSink({});
}
