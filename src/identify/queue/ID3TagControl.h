// The recogniser as the queue sees it: it is told of one track, and says what that is.
//
// Threads: as each member says.
#pragma once

#include "identify/recognition/RecogniserSource.h"

#include <QStringList>
#include <QVariantList>
#include <atomic>
#include <memory>
#include <stop_token>

/// Hears what the recogniser found, on the thread that asked it. Outlives its ID3TagControl.
class ID3TagControlDelegate {
public:
    /// Element 0 is the result: texts under "MusicTitle", "AlbumArtist", "AlbumTitle", "AlbumYeas" (written so) and
    /// "AlbumGenres"; one that is not known has no key. An empty list, or a result with a single key, is no result.
    virtual void getMusicsID3Info(const QVariantList &musicsInfo) = 0;
    virtual void getMusicID3Error() = 0;

protected:
    ~ID3TagControlDelegate() = default;
};

class ID3TagControl {
public:
    /// The recogniser of the program; null while it has nobody to ask. Any thread; may take long.
    static std::shared_ptr<ID3TagControl> defaultManager();
    /// At the start, before anybody asks for it. Main thread.
    static void setDefaultManager(std::shared_ptr<ID3TagControl> manager);

    ID3TagControl() = default;
    virtual ~ID3TagControl() = default;
    ID3TagControl(const ID3TagControl &) = delete;
    ID3TagControl &operator=(const ID3TagControl &) = delete;

    void setDelegate(ID3TagControlDelegate *delegate) { delegate_ = delegate; }

    /// Whether there is anybody who could be asked. Any thread.
    virtual bool isUsable() const = 0;
    /// Recognises `paths`' one element, a WAV file that may not be there; `forTask` says the same and more. Tells the
    /// delegate the outcome before it returns, on the same thread and exactly once; soon after a stop is requested it
    /// gives up with an error. A worker's thread, possibly two at once.
    virtual void setWantToGetID3Files(const QStringList &paths, const RecognitionTask &forTask,
                                      const std::stop_token &stop) = 0;

protected:
    ID3TagControlDelegate *delegate() const { return delegate_; }

private:
    std::atomic<ID3TagControlDelegate *> delegate_ = nullptr; // set once, before the first worker
};
