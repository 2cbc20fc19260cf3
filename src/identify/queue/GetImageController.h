// The search for covers as the queue sees it.
//
// Threads: as each member says.
#pragma once

#include <QVariantList>
#include <QVariantMap>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stop_token>

/// Hears what was found. Any thread. Outlives its GetImageController.
class GetImageControllerDelegate {
public:
    /// "ResultAry": the pictures' paths, the best first; "SongID": the track. Somebody must find the files there until
    /// the library has taken copies of them.
    virtual void getCoverImageInfo(const QVariantMap &info) = 0;
    /// "SongID": the track that gets no cover.
    virtual void getCoverImageError(const QVariantMap &info) = 0;

protected:
    ~GetImageControllerDelegate() = default;
};

class GetImageController {
public:
    /// The program's; null where nobody can look for covers: no track gets one then. Any thread.
    static std::shared_ptr<GetImageController> defaultManager();
    /// At the start, before anybody asks for it. Main thread.
    static void setDefaultManager(std::shared_ptr<GetImageController> manager);

    GetImageController() = default;
    virtual ~GetImageController() = default;
    GetImageController(const GetImageController &) = delete;
    GetImageController &operator=(const GetImageController &) = delete;

    void setDelegate(GetImageControllerDelegate *delegate) { delegate_ = delegate; }

    /// `wanted` holds artist, album title and the track's number, and ends before the first text that is absent.
    /// `forSongID` is the number in any case. Tells the delegate the outcome exactly once, without covers as an error;
    /// soon after a stop is requested it gives up with an error. A worker's thread, possibly two at once.
    virtual void getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &stop) = 0;

protected:
    GetImageControllerDelegate *delegate() const { return delegate_; }

private:
    std::atomic<GetImageControllerDelegate *> delegate_ = nullptr; // set once, before the first worker
};
