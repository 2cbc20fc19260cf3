// An M4A file that is being recorded: AAC-LC at 44100 Hz stereo, encoded and written by a thread of its own.
//
// While it grows the file is a fragmented MP4, flushed about once a second, so that the death of the program costs the
// last second and not the file. dispose() makes it a plain M4A.
//
// Threads: writeAsync() on the audio thread, everything else on the main thread; the caller sees to it that dispose()
// and writeAsync() do not meet.
#pragma once

#include "platform/sound/AudioTypes.h"

#include <QString>
#include <memory>

class ExtAudioFile {
public:
    /// How a file ended.
    struct Outcome {
        /// Those that found the queue full, because the disk stood still, or were refused to be encoded.
        int64_t lostBlocks = 0;
        /// The system's text of the first failure, null when there was none.
        QString error;
    };

    /// Creates the file at `path`, over any older file, for `bitRate` bits per second. Null on failure, `error` then
    /// holds the system's text.
    static std::unique_ptr<ExtAudioFile> createNew(const QString &path, int bitRate, QString *error);

    ExtAudioFile(const ExtAudioFile &) = delete;
    ExtAudioFile &operator=(const ExtAudioFile &) = delete;
    /// Disposes the file if that has not been done.
    ~ExtAudioFile();

    /// Audio thread. Queues a block of kBlockFrames samples of each channel; never waits and never allocates. A block
    /// that finds the queue full is lost and counted.
    void writeAsync(const float *left, const float *right) noexcept;

    /// Waits until the queue has room, as long as the writer takes something every `patience` milliseconds; false when
    /// it does not. While nobody else calls writeAsync().
    bool waitForRoom(int patience);

    /// True once writing has failed; the file takes nothing more and should be disposed.
    bool hasFailed() const noexcept;
    /// The system's text of the failure, null while there is none.
    QString failure() const;

    /// Encodes what is queued, finishes the file as a plain M4A and closes it. Blocks until that is done. When the
    /// plain file cannot be made, a full disk for one, the fragmented one stays, and it plays.
    Outcome dispose();

private:
    class Writer;
    explicit ExtAudioFile(std::unique_ptr<Writer> writer);

    std::unique_ptr<Writer> writer_;
};
