// The queue of tracks to be identified, one at a time: the first 30 seconds of a track are cut out for the recogniser,
// then covers are looked for. A task that takes longer than 90 seconds is given up.
//
// Threads: main, where no comment says otherwise. A worker for each task cuts, and asks; what it finds comes to the
// main thread without anybody waiting for it. A task that was given up while its worker could not be stopped leaves
// that thread behind until its call returns: nothing of what it still says counts.
#pragma once

#include "identify/queue/GetImageController.h"
#include "identify/queue/ID3TagControl.h"

#include <QList>
#include <QSet>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>

struct GetID3Worker;

/// Hears how a track fares. Main thread, but for the last.
class GetMusicID3ControllerDelegate {
public:
    virtual void getID3DidBegin([[maybe_unused]] int32_t songID) {}
    /// Tags were found; covers are looked for now.
    virtual void getID3DidFinish([[maybe_unused]] const QVariantMap &info, [[maybe_unused]] int32_t RecorderIndex) {}
    /// The task ends without tags, or, if they have come before, without covers in time.
    virtual void getID3DidFailWithError([[maybe_unused]] int32_t songID) {}
    virtual void getCoverImageDidFinish([[maybe_unused]] const QStringList &paths,
                                        [[maybe_unused]] int32_t RecorderIndex) {}
    virtual void getCoverImageDidFailWithError([[maybe_unused]] int32_t songID) {}
    /// The worker of the current task ends. Its own thread.
    virtual void NotifyGetID3ThreadWillExit() {}

protected:
    ~GetMusicID3ControllerDelegate() = default;
};

class GetMusicID3Controller final : private ID3TagControlDelegate, private GetImageControllerDelegate {
public:
    /// Settable for tests.
    struct Patience {
        std::chrono::milliseconds task{90'000};
        std::chrono::milliseconds unusableTrack{2'000}; ///< keeps a list of such tracks from racing through
    };

    /// Null while there is no recogniser; the next call tries again then. Lives as long as the process. Any thread.
    static GetMusicID3Controller *defaultManager();
    /// Any thread.
    static bool isExistobject();
    /// Waits until no worker is left, false if that takes longer.
    static bool waitForWorkers(std::chrono::milliseconds patience);

    GetMusicID3Controller(const GetMusicID3Controller &) = delete;
    GetMusicID3Controller &operator=(const GetMusicID3Controller &) = delete;

    /// Whether the recogniser has anybody to ask at present. Any thread.
    bool isReady() const { return iD3TagControl_->isUsable(); }

    GetMusicID3ControllerDelegate *delegate() const { return delegate_; }
    /// Null where nobody shall hear more.
    void setDelegate(GetMusicID3ControllerDelegate *delegate);
    void setPatience(const Patience &patience) { patience_ = patience; }

    /// Queues the tasks that do not wait yet. "Path"; "SongID"; "Priority", by which nobody goes; "FileTime" in whole
    /// seconds; "Length" in milliseconds.
    void addMusicsWantedID3Path(const QList<QVariantMap> &tasks);
    /// Whether the task waits. The running one does so no longer.
    bool existTask(int32_t songID) const;
    /// Takes the task at the head of the queue in hand.
    void startGet();
    /// Empties the queue, and gives up the running task.
    void stop();
    /// A task runs, or one waits for its turn. Any thread.
    bool isGettingID3() const;
    /// Takes the tracks out of the queue. The last one that was in hand counts as failed, also if it was done before.
    void deleteTaskWithSongIDs(const QList<int32_t> &songIDs);
    void deleteTaskWithSongID(int32_t songID);

private:
    using Worker = std::shared_ptr<GetID3Worker>;
    using Word = std::function<void(GetMusicID3ControllerDelegate &)>;

    explicit GetMusicID3Controller(std::shared_ptr<ID3TagControl> iD3TagControl);
    ~GetMusicID3Controller() = default;

    // Main thread
    Worker takeCurrentThread();
    static void giveUp(const Worker &worker);
    void giveUpDeletedTask();
    void giveUpTask();
    void armOverTime(GetID3Worker &worker);
    void taskOverTime();
    void getID3DidBeginToMainThread(const Worker &worker, int32_t songID);
    void getMusicID3InfoToMainThread(const Worker &worker, const QVariantMap &musicInfo, int32_t songID);
    void getMusicID3ErrorToMainThread(const Worker &worker, int32_t songID);
    void getCoverImageInfoToMainThread(const Worker &worker, const QStringList &paths, int32_t songID);
    void getCoverImageErrorToMainThread(const Worker &worker, int32_t songID);
    void closeTask(const Worker &worker, const char *lastLine, const Word &tell);
    void startNext(const Worker &last, const char *lastLine);

    // The worker's thread
    void startWorker(const Worker &worker);
    void startNow(const Worker &worker);
    std::optional<QVariantMap> takeTask(const Worker &worker);
    void recognise(const Worker &worker);
    void hopWithError(const Worker &worker);
    void NotifyThreadWillExitNotification(const Worker &worker);
    static Worker takeTagAnswer();
    void getMusicsID3Info(const QVariantList &musicsInfo) override;
    void getMusicID3Error() override;
    void getCoverImage(GetID3Worker &worker, const QVariantMap &musicInfo);
    // Any thread
    Worker takeCoverAnswer(int32_t songID);
    void getCoverImageInfo(const QVariantMap &info) override;
    void getCoverImageError(const QVariantMap &info) override;

    const std::shared_ptr<ID3TagControl> iD3TagControl_;
    Patience patience_; // set before the first task

    mutable std::mutex mutex_;
    // Under mutex_
    QList<QVariantMap> needsGetID3PathsAry_; // the oldest first
    QSet<int32_t> waitingSongIDs_;           // of needsGetID3PathsAry_
    int32_t currentSongID_ = 0;              // of the task in hand, or of the last one
    Worker currentThread_;                   // of the last task that was started, unless that was given up
    bool isGettingID3AndCoverImage_ = false;

    mutable std::mutex delegateMutex_; // held by a worker while it speaks with the delegate
    GetMusicID3ControllerDelegate *delegate_ = nullptr;

    // Main thread
    QSet<int> armedOverTimes_;
    int lastOverTime_ = 0;
};
