// Covers as they come from disks: good ones, broken ones, and what is no cover at all.
#include "views/pictures/CoverCache.h"
#include "demo/RunningProgram.h"
#include "support/MadeAudio.h"
#include "views/controls/OneLine.h"

#include <QFile>
#include <QPainter>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

constexpr QSize kSmall(20, 20);

struct Covers : testing::Test {
    QObject asker;
    CoverCache cache;
    QStringList come;

    Covers() {
        QObject::connect(&cache, &CoverCache::coverCame, &asker, [this](const CoverKey &key) { come += key.path; });
    }
    // Red at the left and right ends, `middle` between them.
    static QString wide(const QString &name, Qt::GlobalColor middle) {
        QImage image(300, 100, QImage::Format_RGB32);
        image.fill(Qt::red);
        QPainter(&image).fillRect(100, 0, 100, 100, middle);
        EXPECT_TRUE(image.save(inHome(name), nullptr, 100));
        return inHome(name);
    }
    QImage read(const CoverKey &key) {
        cache.want(&asker, {key});
        EXPECT_TRUE(waitUntil([&] { return !cache.cover(key).isNull(); }));
        return cache.cover(key);
    }
};

// Headers that are whole, of pictures that end behind them; 20,000 by 20,000 points, and 20 by 20.
const QByteArray kHugeHeader =
    QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200004e2000004e2008020000006c12d16e");
const QByteArray kSmallHeader =
    QByteArray::fromHex("89504e470d0a1a0a0000000d494844520000001400000014080200000002eb8a5a");

} // namespace

TEST_F(Covers, WhatIsNoCoverShowsTheDefaultOneAndHoldsNobodyUp) {
    const QString pipe = inHome("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QImage usual = read({":/images/default_coverImage.png", 1, kSmall});
    for (const auto &[name, path] : {
             std::pair<const char *, QString>{"no path", {}},
             {"no file", inHome("gone.jpg")},
             {"a pipe that nobody writes to", pipe},
             {"a device", "/dev/zero"},
             {"a NUL behind a good name", wide("good.png", Qt::blue) + QChar(0) + "x"},
             {"a drawing that may name other files", makeFile("d.png", "<svg xmlns='http://www.w3.org/2000/svg'/>")},
             {"more pixels than there is memory for", makeFile("huge.png", kHugeHeader.toStdString())},
             {"nothing behind the header", makeFile("head.png", kSmallHeader.toStdString())},
         })
        EXPECT_EQ(read({path, 1, kSmall}), usual) << name;
}

TEST_F(Covers, AreCutToTheirMiddleAndReadAgainWhenTheVersionChanges) {
    for (const char *name : {"cover.jpg", "cover.png"}) {
        SCOPED_TRACE(name);
        const QImage blue = read({wide(name, Qt::blue), 1, kSmall});
        ASSERT_EQ(blue.size(), kSmall);
        EXPECT_GT(qBlue(blue.pixel(1, 10)), 200);
        EXPECT_GT(qBlue(blue.pixel(18, 10)), 200);
        const QImage green = read({wide(name, Qt::green), 2, kSmall});
        EXPECT_GT(qGreen(green.pixel(10, 10)), 200);
        EXPECT_EQ(read({inHome(name), 1, kSmall}), blue); // still the one of that version
    }
}

TEST_F(Covers, NobodyWantsAnyMoreAreNotRead) {
    QList<CoverKey> first;
    for (int i = 0; i < 50; ++i)
        first.append({wide(QString("%1.png").arg(i), Qt::blue), 1, kSmall});
    QObject other;
    cache.want(&other, {{wide("first.png", Qt::blue), 1, kSmall}});
    cache.want(&other, {{wide("other.png", Qt::blue), 1, kSmall}});
    cache.want(&asker, first);
    cache.want(&asker, {first.at(7), first.at(3)});
    EXPECT_TRUE(waitUntil([&] { return come.contains(inHome("other.png")); }));
    // One was being read when the wishes changed; the last asker comes first, in the order asked.
    EXPECT_EQ(come, QStringList({inHome("first.png"), inHome("7.png"), inHome("3.png"), inHome("other.png")}));
}

TEST_F(Covers, KeepNoMoreThanTheirRoom) {
    const QString file = wide("cover.png", Qt::blue);
    const QSize large(CoverKey::kLargestSide, CoverKey::kLargestSide); // 16 MiB each
    for (int version = 1; version <= 3; ++version)
        read({file, version, large});
    EXPECT_FALSE(cache.cover({file, 1, large}).isNull()); // used again: the second is the oldest now
    for (int version = 4; version <= 5; ++version)
        read({file, version, large});
    EXPECT_FALSE(cache.cover({file, 1, large}).isNull());
    EXPECT_TRUE(cache.cover({file, 2, large}).isNull());
}

TEST(OneLine, KeepsATitleInItsLine) {
    for (const auto &[name, text, line] : {
             std::tuple<const char *, QString, QString>{"lines", "A\r\nB\tC", "A B C"},
             {"NUL", QString("A") + QChar(0) + "B", "A B"},
             {"turned round", QString("A") + QChar(0x202e) + "B" + QChar(0x2067), "A B"},
             {"long", QString(100'000, 'x'), QString(400, 'x')},
             {"cut within a character", QString(399, 'x') + "🎵", QString(399, 'x')},
         })
        EXPECT_EQ(oneLine(text), line) << name;
}
