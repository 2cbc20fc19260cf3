// "Fingerprints.sqlite" beside the library: what this computer knows of its tracks by itself, their fingerprints and
// the names that players gave them. All of it can be made again or done without, so a file that can't be read is set
// aside and a new one begun.
//
// Threads: any.
#pragma once

#include "identify/recognition/RecogniserSource.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

struct sqlite3;
class Statement;

/// In the application support folder.
QString defaultFingerprintPath();

/// The name that a player gave a track. A track's number may be given out again after it was deleted; together with the
/// date of its arrival it names one track only.
struct HeardTrack {
    QByteArray addDate;
    Recognition name;
};

class FingerprintFile {
public:
    using Items = std::vector<uint32_t>;

    using Clock = std::chrono::steady_clock;

    /// Opened when first used. A file that can't be, since somebody holds it for one, is tried again after `retry`.
    explicit FingerprintFile(QString path = defaultFingerprintPath(), Clock::duration retry = std::chrono::minutes(1));
    ~FingerprintFile();
    FingerprintFile(const FingerprintFile &) = delete;
    FingerprintFile &operator=(const FingerprintFile &) = delete;

    // Where the file can't be used there is nothing in it, and false is answered.

    bool keepFingerprint(int32_t songID, const QByteArray &addDate, std::span<const uint32_t> items);
    /// Empty when there is none.
    Items fingerprintOf(int32_t songID);
    /// Every fingerprint, one after another; `take` may not call back.
    bool forEachFingerprint(const std::function<void(int32_t songID, const Items &items)> &take);

    bool keepName(int32_t songID, const HeardTrack &heard);
    std::optional<HeardTrack> nameOf(int32_t songID);

    /// The tracks that have a fingerprint, or a name, with their dates.
    QHash<int32_t, QByteArray> fingerprintedTracks();
    QHash<int32_t, QByteArray> namedTracks();
    /// All that is known of these tracks.
    void forget(const QList<int32_t> &songIDs);

private:
    sqlite3 *opened();
    bool open();
    bool run(const char *sql, const std::function<int(Statement &statement)> &work);
    QHash<int32_t, QByteArray> dates(const char *sql);

    const QString path_;
    const Clock::duration retry_;
    std::mutex lock_; // guards what follows
    sqlite3 *connection_ = nullptr;
    Clock::time_point nextTry_ = {};
};
