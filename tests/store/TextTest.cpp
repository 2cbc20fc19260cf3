#include "store/DateText.h"
#include "store/SongItem.h"
#include "store/TimeAndSizeText.h"

#include <QDir>
#include <QFileInfo>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <map>

TEST(TimeAndSizeText, ComparesBeforeItRounds) {
    // 2.5 seconds: half to even, as printf rounds.
    using Texts = std::map<qint64, const char *>;
    for (const auto &[function, texts] :
         {std::pair{&ConvertTimeToString, Texts{{-1, ""},
                                                {0, ""},
                                                {1'000, "1 second"},
                                                {2'500, "2 seconds"},
                                                {60'000, "60 seconds"},
                                                {90'000, "1.5 minutes"},
                                                {3'600'000, "60.0 minutes"},
                                                {5'400'000, "1.5 hours"}}},
          std::pair{&ConvertTimeToHMS,
                    Texts{{-1'500, ""}, {-500, "0:00  "}, {499, "0:00  "}, {999, "0:01  "}, {3'600'000, "1:00:00  "}}},
          std::pair{&ConvertTimeToHMSPro, Texts{{61'000, "01:01  "}, {36'061'000, "10:01:01  "}}},
          std::pair{&ConvertSizeToString,
                    Texts{{0, ""}, {1'000'000, "1000.0 KB"}, {1'000'001, "1.0 MB"}, {1'500'000'000, "1.5 GB"}}}})
        for (const auto &[value, text] : texts)
            EXPECT_EQ(function(value), QString(text)) << value;
}

TEST(TimeAndSizeText, TemporaryImagePathsAreNewEachTime) {
    qputenv("TMPDIR", (QDir::homePath() + "/not/yet").toUtf8());
    const QString first = getTempImagePath();
    EXPECT_NE(first, getTempImagePath());
    EXPECT_TRUE(first.endsWith(".jpg"));
    EXPECT_TRUE(QFileInfo(QFileInfo(first).path()).isDir());
}

TEST(SongItem, ANewItemShowsItsDefaults) {
    SongItem song;
    EXPECT_EQ(song.lengthString(), "1 second");
    EXPECT_EQ(song.sizeString(), "0 MB");
    EXPECT_TRUE(song.dateString().isNull());

    const QString standard = song.imagePath();
    song.setCoverImageIndex(0);
    EXPECT_EQ(song.imagePath(), standard) << "an index without covers";
    song.setCoverImages({"/a.png", "/b.png"});
    EXPECT_EQ(song.imagePath(), "/a.png");
    EXPECT_EQ(song.imageUID(), "/a.png_1");
    song.setCoverImageIndex(-1);
    EXPECT_EQ(song.imagePath(), standard) << "covers without an index";
}

TEST(DateText, ReadsBackWhatItWroteAndOtherOffsets) {
    const QDateTime date(QDate(2026, 2, 28), QTime(23, 59, 59), QTimeZone(-3600));
    EXPECT_EQ(dateText(date), "2026-03-01 00:59:59 +0000");
    EXPECT_EQ(dateFromText(dateText(date)), date);
    EXPECT_EQ(dateFromText("2026-03-01 06:29:59 +0530"), date);
    EXPECT_EQ(dateFromText("2026-02-28 16:59:59 -0800"), date);
    EXPECT_EQ(dateText({}), "");
    for (const char *other : {"", "yesterday", "2026-02-30 10:00:00 +0000", "2026-02-28 25:00:00 +0000",
                              "2026-02-28 10:00:00 +00:0", "2026-02-28T10:00:00 +0000"})
        EXPECT_FALSE(dateFromText(other).isValid()) << other;
}
