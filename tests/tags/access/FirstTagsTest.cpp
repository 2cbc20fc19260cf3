#include "tags/access/FirstTags.h"

#include "platform/files/Folders.h"
#include "store/DataBaseManager.h"
#include "support/MadePictures.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QDir>
#include <gtest/gtest.h>

TEST(FirstTags, OfARecordingHaveDefaultsForWhatIsAbsentAndOneCover) {
    SongItem song;
    song.setSongPath(makeTone("a.mp3"));
    song.setTitle({});
    song.setArtist("");
    song.setYear("2026");
    song.setGenre({});
    song.setCoverImages({makePicture("blue.png", Qt::blue)});
    song.setCoverImageIndex(0);
    ASSERT_TRUE(QDir().mkpath(coverImageFolder()));
    ASSERT_TRUE(DataBaseManager::defaultManager().loadDataBase(inHome("Library.db")));
    song.setSongID(DataBaseManager::defaultManager().insertSongItem(song));

    EXPECT_FALSE(tagDictionaryOf(song, /*isWithCover=*/false).contains(TagKey::kCover)) << "the file's pictures stay";
    EXPECT_EQ(writeID3(song), TagWriteOutcome::Written);
    const QVariantMap info = TagLibHelper::ID3Info(song.songPath()).value();
    QStringList texts;
    for (const char *key : {TagKey::kTitle, TagKey::kArtist, TagKey::kAlbum, TagKey::kGenre, TagKey::kYear})
        texts << info[key].toString();
    EXPECT_EQ(texts, QStringList({"Unknown Title", "", "Unknown Album", "Unknown Genre", "2026"}));
    ASSERT_EQ(info[TagKey::kCover].toList().size(), 1);
    EXPECT_GT(qBlue(info[TagKey::kCover].toList().first().value<QImage>().pixel(3, 3)), 240);
    EXPECT_EQ(song.size(), AudioConverter::getFileSize(song.songPath()));
    const auto songs = DataBaseManager::defaultManager().getAllSongItems();
    ASSERT_TRUE(songs && songs->size() == 1);
    EXPECT_EQ(songs->first()->size(), song.size());
}
