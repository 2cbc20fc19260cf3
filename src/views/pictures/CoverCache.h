// Covers of tracks, read and scaled beside the main thread, and kept as long as there is room.
//
// Threads: main. A thread of the cache's own reads one cover at a time; it ends with the cache.
#pragma once

#include <QCache>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSize>
#include <QThreadPool>
#include <atomic>

/// A cover as it is shown somewhere. A changed picture has another `version` (SongItem::version()).
struct CoverKey {
    QString path;
    int version = 0;
    QSize pixels; ///< of the screen; kLargestSide at most

    static constexpr int kLargestSide = 2048;

    bool operator==(const CoverKey &) const = default;
};

size_t qHash(const CoverKey &key, size_t seed = 0);

class CoverCache : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype kMostBytes = 64 * 1024 * 1024;

    /// The program's cache; it goes with the application.
    static CoverCache &shared();

    explicit CoverCache(QObject *parent = nullptr);
    ~CoverCache() override;

    /// The cover at `key`, filling `pixels`, what is too long or too wide cut off at both sides. A path without a
    /// picture that can be read gives the default cover. Null while it is not known: want() it then.
    QImage cover(const CoverKey &key);

    /// What `asker` shows now, the most urgent first. Takes the place of what it wanted before: what nobody wants any
    /// more is not read. Who asked last is served first. Does not wait; coverCame() tells.
    void want(QObject *asker, const QList<CoverKey> &keys);

signals:
    /// cover() has it now.
    void coverCame(const CoverKey &key);

private:
    struct Wish {
        const QObject *asker;
        QList<CoverKey> keys;
    };

    void forget(const QObject *asker);
    void readNext();
    void didRead(const CoverKey &key, const QImage &image);

    QCache<CoverKey, QImage> images_;
    QList<Wish> wishes_; // the latest asker first; only what is not in images_
    bool isReading_ = false;
    std::atomic<bool> isStopping_ = false; // main thread sets it at the end, a file that is being read looks at it
    QThreadPool pool_;
};
