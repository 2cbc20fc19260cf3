// Who can say what a track is.
//
// The recogniser asks its sources one after another; the first confident answer wins. A source that isn't sure says
// NotFound: nothing is guessed.
//
// Threads: as each member says. Sources outlive the recogniser.
#pragma once

#include <QString>
#include <QUrl>
#include <cstdint>
#include <stop_token>

/// A track to be named.
struct RecognitionTask {
    int32_t songID = 0;
    QString songPath;         ///< the track's own file, whole
    int64_t milliseconds = 0; ///< its length, 0 where that is not known
    QString excerptPath = {}; ///< a WAV of its first 30 seconds; there may be no such file
};

/// What a source says of a track. An absent text is one that the source does not know.
struct Recognition {
    QString title, artist, album, year, genre;
    QString releaseID, releaseGroupID; ///< of MusicBrainz, for the cover
    QUrl cover;                        ///< of a picture that the source has itself
};

struct RecogniserAnswer {
    enum class Outcome { Found, NotFound, Failed };

    Outcome outcome = Outcome::NotFound;
    Recognition found = {};
};

class RecogniserSource {
public:
    virtual ~RecogniserSource() = default;
    RecogniserSource() = default;
    RecogniserSource(const RecogniserSource &) = delete;
    RecogniserSource &operator=(const RecogniserSource &) = delete;

    /// The settings' key that turns it on and off, which is also its name in the log.
    virtual QString key() const = 0;
    /// Whether it is turned on and has all that it needs. Any thread.
    virtual bool isUsable() const = 0;
    /// Blocks until the answer is there; soon after a stop is requested it gives up with Failed. A worker's thread,
    /// possibly two at once.
    virtual RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &stop) = 0;
};
