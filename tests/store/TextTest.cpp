#include "store/DateText.h"
#include "store/SongItem.h"
#include "store/TimeAndSizeText.h"

#include <QDir>
#include <QFileInfo>
#include <QTimeZone>
#include <gtest/gtest.h>

struct TextCase {
    QString (*function)(qint64);
    qint64 value;
    const char *text;
};

TEST(TimeAndSizeText, ComparesBeforeItRounds) {
    for (const auto &[function, value, text] : {
             TextCase{ConvertTimeToString, -1, ""},
             TextCase{ConvertTimeToString, 0, ""},
             TextCase{ConvertTimeToString, 1'000, "1 second"},
             TextCase{ConvertTimeToString, 2'500, "2 seconds"}, // half to even, as printf rounds
             TextCase{ConvertTimeToString, 60'000, "60 seconds"},
             TextCase{ConvertTimeToString, 90'000, "1.5 minutes"},
             TextCase{ConvertTimeToString, 3'600'000, "60.0 minutes"},
             TextCase{ConvertTimeToString, 5'400'000, "1.5 hours"},
             TextCase{ConvertTimeToHMS, -1'500, ""},
             TextCase{ConvertTimeToHMS, -500, "0:00  "},
             TextCase{ConvertTimeToHMS, 499, "0:00  "},
             TextCase{ConvertTimeToHMS, 999, "0:01  "},
             TextCase{ConvertTimeToHMS, 3'600'000, "1:00:00  "},
             TextCase{ConvertTimeToHMSPro, 61'000, "01:01  "},
             TextCase{ConvertTimeToHMSPro, 36'061'000, "10:01:01  "},
             TextCase{ConvertSizeToString, 0, ""},
             TextCase{ConvertSizeToString, 1'000'000, "1000.0 KB"},
             TextCase{ConvertSizeToString, 1'000'001, "1.0 MB"},
             TextCase{ConvertSizeToString, 1'500'000'000, "1.5 GB"},
         })
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
