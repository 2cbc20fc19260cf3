// Covers as they come from disks: good ones, broken ones, and what is no cover at all.
#include "views/library/CoverCache.h"
#include "views/controls/OneLine.h"

#include <QEventLoop>
#include <QFile>
#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

constexpr QSize kSmall(20, 20);

struct Covers : testing::Test {
    QTemporaryDir folder;
    QObject asker;
    CoverCache cache;
    QStringList come;

    Covers() {
        QObject::connect(&cache, &CoverCache::coverCame, &asker, [this](const CoverKey &key) { come += key.path; });
    }
    QString path(const char *name) const { return folder.filePath(QString::fromLatin1(name)); }
    QString write(const char *name, const QByteArray &bytes) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return file.fileName();
    }
    // Red at the left and right ends, `middle` between them.
    QString wide(const char *name, Qt::GlobalColor middle) const {
        QImage image(300, 100, QImage::Format_RGB32);
        image.fill(Qt::red);
        QPainter(&image).fillRect(100, 0, 100, 100, middle);
        EXPECT_TRUE(image.save(path(name), nullptr, 100));
        return path(name);
    }
    QImage read(const CoverKey &key) {
        cache.want(&asker, {key});
        waitUntil([&] { return !cache.cover(key).isNull(); });
        return cache.cover(key);
    }
    void waitUntil(const std::function<bool()> &isDone) {
        QEventLoop loop;
        const auto look = [&] {
            if (isDone())
                loop.quit();
        };
        const auto connection = QObject::connect(&cache, &CoverCache::coverCame, &loop, look);
        QTimer::singleShot(30'000, &loop, &QEventLoop::quit);
        if (!isDone())
            loop.exec();
        EXPECT_TRUE(isDone());
    }
};

void append(QByteArray &bytes, quint32 number) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.append(static_cast<char>(number >> shift));
}

// A picture that ends behind its header, which is whole.
QByteArray pngHeader(quint32 width, quint32 height) {
    QByteArray chunk("IHDR");
    append(chunk, width);
    append(chunk, height);
    chunk += QByteArray("\x08\x02\0\0\0", 5);
    quint32 checksum = ~0U;
    for (const char byte : std::as_const(chunk)) {
        checksum ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1) ^ (checksum & 1 ? 0xedb88320U : 0U);
    }
    append(chunk, ~checksum);
    return QByteArray("\x89PNG\r\n\x1a\n\0\0\0\r", 12) + chunk;
}

} // namespace

TEST_F(Covers, WhatIsNoCoverShowsTheDefaultOneAndHoldsNobodyUp) {
    const QString pipe = path("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QImage usual = read({":/images/default_coverImage.png", 1, kSmall});
    struct Case {
        const char *name;
        QString path;
    };
    for (const auto &[name, path] : {
             Case{"no path", {}},
             Case{"no file", path("gone.jpg")},
             Case{"a pipe that nobody writes to", pipe},
             Case{"a device", "/dev/zero"},
             Case{"a NUL behind a good name", wide("good.png", Qt::blue) + QChar(0) + "x"},
             Case{"a drawing that may name other files", write("d.png", "<svg xmlns='http://www.w3.org/2000/svg'/>")},
             Case{"more pixels than there is memory for", write("huge.png", pngHeader(20'000, 20'000))},
             Case{"nothing behind the header", write("head.png", pngHeader(20, 20))},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(read({path, 1, kSmall}), usual);
    }
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
        EXPECT_EQ(read({path(name), 1, kSmall}), blue); // still the one of that version
    }
}

TEST_F(Covers, NobodyWantsAnyMoreAreNotRead) {
    QList<CoverKey> first;
    for (int i = 0; i < 50; ++i)
        first.append({wide(qPrintable(QString("%1.png").arg(i)), Qt::blue), 1, kSmall});
    QObject other;
    cache.want(&other, {{wide("first.png", Qt::blue), 1, kSmall}});
    cache.want(&other, {{wide("other.png", Qt::blue), 1, kSmall}});
    cache.want(&asker, first);
    cache.want(&asker, {first.at(7), first.at(3)});
    waitUntil([&] { return come.contains(path("other.png")); });
    // One was being read when the wishes changed; the last asker comes first, in the order asked.
    EXPECT_EQ(come, QStringList({path("first.png"), path("7.png"), path("3.png"), path("other.png")}));
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
    struct Case {
        const char *name;
        QString text;
        QString line;
    };
    for (const auto &[name, text, line] : {
             Case{"lines", "A\r\nB\tC", "A B C"},
             Case{"NUL", QString("A") + QChar(0) + "B", "A B"},
             Case{"turned round", QString("A") + QChar(0x202e) + "B" + QChar(0x2067), "A B"},
             Case{"long", QString(100'000, 'x'), QString(400, 'x')},
             Case{"cut within a character", QString(399, 'x') + "🎵", QString(399, 'x')},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(oneLine(text), line);
    }
}
