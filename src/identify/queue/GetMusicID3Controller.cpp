// The main thread's side of the queue.
#include "identify/queue/GetMusicID3Controller.h"

#include "identify/queue/GetID3Worker.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"

#include <QCoreApplication>
#include <utility>

namespace {

std::mutex creation;
GetMusicID3Controller *theManager = nullptr; // under creation

int32_t songIDOf(const QVariantMap &task) { return task.value(QStringLiteral("SongID")).toInt(); }

} // namespace

GetMusicID3Controller *GetMusicID3Controller::defaultManager() {
    const std::lock_guard lock(creation);
    if (theManager)
        return theManager;
    logLine(QStringLiteral("beginInit...."));
    std::shared_ptr<ID3TagControl> recogniser = ID3TagControl::defaultManager();
    if (!recogniser) {
        logLine(QStringLiteral("gracenote失败的时候处理"));
        return nullptr;
    }
    logLine(QStringLiteral("EndInit...."));
    theManager = new GetMusicID3Controller(std::move(recogniser));
    return theManager;
}

bool GetMusicID3Controller::isExistobject() {
    const std::lock_guard lock(creation);
    return theManager != nullptr;
}

GetMusicID3Controller::GetMusicID3Controller(std::shared_ptr<ID3TagControl> iD3TagControl)
    : iD3TagControl_(std::move(iD3TagControl)) {
    iD3TagControl_->setDelegate(this);
    if (const auto imageController = GetImageController::defaultManager())
        imageController->setDelegate(this);
}

void GetMusicID3Controller::setDelegate(GetMusicID3ControllerDelegate *delegate) {
    const std::lock_guard lock(delegateMutex_);
    delegate_ = delegate;
}

bool GetMusicID3Controller::isGettingID3() const {
    const std::lock_guard lock(mutex_);
    return isGettingID3AndCoverImage_;
}

// The queue

void GetMusicID3Controller::addMusicsWantedID3Path(const QList<QVariantMap> &tasks) {
    const std::lock_guard lock(mutex_);
    for (const QVariantMap &task : tasks) {
        const int32_t songID = songIDOf(task);
        if (waitingSongIDs_.contains(songID))
            continue;
        waitingSongIDs_.insert(songID);
        needsGetID3PathsAry_.append(task);
    }
    logLine(QStringLiteral(" The Totle tasks count === %1").arg(needsGetID3PathsAry_.size()));
}

bool GetMusicID3Controller::existTask(int32_t songID) const {
    const std::lock_guard lock(mutex_);
    return waitingSongIDs_.contains(songID);
}

void GetMusicID3Controller::deleteTaskWithSongIDs(const QList<int32_t> &songIDs) {
    const QSet<int32_t> gone(songIDs.begin(), songIDs.end());
    bool isInHand = false;
    {
        const std::lock_guard lock(mutex_);
        needsGetID3PathsAry_.removeIf([&gone](const QVariantMap &task) { return gone.contains(songIDOf(task)); });
        waitingSongIDs_.subtract(gone);
        isInHand = gone.contains(currentSongID_);
    }
    if (isInHand)
        giveUpDeletedTask();
}

void GetMusicID3Controller::deleteTaskWithSongID(int32_t songID) {
    {
        const std::lock_guard lock(mutex_);
        if (songID != currentSongID_) {
            if (waitingSongIDs_.remove(songID))
                needsGetID3PathsAry_.removeIf([songID](const QVariantMap &task) { return songIDOf(task) == songID; });
            return;
        }
    }
    giveUpDeletedTask();
}

// Nobody asks whether the task is still in hand: one that was done before fails after the event.
void GetMusicID3Controller::giveUpDeletedTask() {
    giveUp(takeCurrentThread());
    const std::lock_guard lock(mutex_);
    if (needsGetID3PathsAry_.isEmpty())
        isGettingID3AndCoverImage_ = false;
    performOnMainThread([this, songID = currentSongID_] { getMusicID3ErrorToMainThread(/*worker=*/nullptr, songID); });
}

// Tasks

void GetMusicID3Controller::startGet() {
    if (const Worker last = takeCurrentThread())
        last->cancel.request_stop();
    const auto worker = std::make_shared<GetID3Worker>();
    armOverTime(*worker);
    {
        const std::lock_guard lock(mutex_);
        currentThread_ = worker;
        // Whoever asks before the worker has begun shall not start another one in its place.
        isGettingID3AndCoverImage_ = !needsGetID3PathsAry_.isEmpty();
    }
    startWorker(worker);
}

GetMusicID3Controller::Worker GetMusicID3Controller::takeCurrentThread() {
    const std::lock_guard lock(mutex_);
    return std::exchange(currentThread_, nullptr);
}

void GetMusicID3Controller::giveUp(const Worker &worker) {
    if (!worker)
        return;
    worker->isClosed = true;
    worker->cancel.request_stop();
}

void GetMusicID3Controller::armOverTime(GetID3Worker &worker) {
    worker.overTime = ++lastOverTime_;
    armedOverTimes_.insert(worker.overTime);
    const double seconds = std::chrono::duration<double>(patience_.task).count();
    performAfterDelay(seconds, QCoreApplication::instance(), [this, overTime = worker.overTime] {
        if (armedOverTimes_.remove(overTime))
            taskOverTime();
    });
}

// Comes for a worker that found the queue empty as well, which can't disarm it: the last track fails once more then.
void GetMusicID3Controller::taskOverTime() {
    logLine(QStringLiteral("超时"));
    giveUpTask();
}

void GetMusicID3Controller::stop() {
    bool isBusy = false;
    {
        const std::lock_guard lock(mutex_);
        needsGetID3PathsAry_.clear();
        waitingSongIDs_.clear();
        isBusy = isGettingID3AndCoverImage_;
    }
    if (isBusy)
        giveUpTask();
    else
        giveUp(takeCurrentThread());
}

void GetMusicID3Controller::giveUpTask() {
    giveUp(takeCurrentThread());
    int32_t songID = 0;
    {
        const std::lock_guard lock(mutex_);
        songID = currentSongID_;
    }
    getMusicID3ErrorToMainThread(/*worker=*/nullptr, songID);
}

// What the workers say

void GetMusicID3Controller::getID3DidBeginToMainThread(const Worker &worker, int32_t songID) {
    if (!worker->isCancelled() && delegate_)
        delegate_->getID3DidBegin(songID);
}

void GetMusicID3Controller::getMusicID3InfoToMainThread(const Worker &worker, const QVariantMap &musicInfo,
                                                        int32_t songID) {
    if (!worker->isCancelled() && delegate_)
        delegate_->getID3DidFinish(musicInfo, songID);
}

void GetMusicID3Controller::getMusicID3ErrorToMainThread(const Worker &worker, int32_t songID) {
    closeTask(worker, "task finished", [songID](auto &delegate) { delegate.getID3DidFailWithError(songID); });
}

void GetMusicID3Controller::getCoverImageInfoToMainThread(const Worker &worker, const QStringList &paths,
                                                          int32_t songID) {
    closeTask(worker, "tasks finished !",
              [&paths, songID](auto &delegate) { delegate.getCoverImageDidFinish(paths, songID); });
}

void GetMusicID3Controller::getCoverImageErrorToMainThread(const Worker &worker, int32_t songID) {
    closeTask(worker, "tasks finished !", [songID](auto &delegate) { delegate.getCoverImageDidFailWithError(songID); });
}

// A task that was given up while its last word was on the way has been told of. One in whose place another has begun
// meanwhile is told of, and leaves that other alone. Without a worker it is one that was given up.
void GetMusicID3Controller::closeTask(const Worker &worker, const char *lastLine, const Word &tell) {
    if (worker && std::exchange(worker->isClosed, true))
        return;
    Worker current;
    bool isInHand = false;
    {
        const std::lock_guard lock(mutex_);
        current = currentThread_;
        isInHand = !current || current == worker;
        if (isInHand) // whoever is told may look whether work is left
            isGettingID3AndCoverImage_ = !needsGetID3PathsAry_.isEmpty();
    }
    if (isInHand)
        armedOverTimes_.clear();
    else if (worker)
        armedOverTimes_.remove(worker->overTime);
    if (delegate_)
        tell(*delegate_);
    if (isInHand)
        startNext(current, lastLine);
}

void GetMusicID3Controller::startNext(const Worker &last, const char *lastLine) {
    {
        const std::lock_guard lock(mutex_);
        if (currentThread_ != last) // whoever was told has started one
            return;
        isGettingID3AndCoverImage_ = !needsGetID3PathsAry_.isEmpty();
        if (!isGettingID3AndCoverImage_)
            logLine(QString::fromLatin1(lastLine));
    }
    if (!isGettingID3())
        return;
    startGet();
    for (const char *line : {"########################", "get next !", "########################"})
        logLine(QString::fromLatin1(line));
}
