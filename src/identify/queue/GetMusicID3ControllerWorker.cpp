// The workers' side of the queue.
#include "identify/queue/GetID3Worker.h"
#include "identify/queue/GetMusicID3Controller.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/Semaphore.h"
#include "tags/audio/AudioConverter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <pthread.h>
#include <thread>

namespace {

constexpr double kExcerptSeconds = 30;
constexpr int kShortestFileTime = 20; // seconds
constexpr std::chrono::duration<int, std::milli> kTurn(500);

std::atomic<int> workers = 0; // that run
Semaphore workerEnded;

thread_local std::shared_ptr<GetID3Worker> thisWorker; // on a worker's thread only

// Waits, unless the task is given up meanwhile.
void sleepFor(std::chrono::milliseconds time, const std::stop_token &stop) {
    Semaphore givenUp;
    const std::stop_callback wake(stop, [&givenUp] { givenUp.post(); });
    for (; time > kTurn && !stop.stop_requested(); time -= kTurn)
        givenUp.waitAtMost(kTurn.count());
    if (!stop.stop_requested())
        givenUp.waitAtMost(static_cast<int>(time.count()));
}

bool isUsable(const QVariantMap &task) {
    const QString path = task.value(QStringLiteral("Path")).toString();
    return !path.isEmpty() && QFile::exists(path) &&
           task.value(QStringLiteral("FileTime")).toLongLong() >= kShortestFileTime;
}

// The list ends before the first text that is absent.
QVariantList wantedCover(const QVariantMap &musicInfo, int32_t songID) {
    QVariantList wanted;
    for (const char *key : {"AlbumArtist", "AlbumTitle"}) {
        const QVariant text = musicInfo.value(QString::fromLatin1(key));
        if (!text.isValid())
            return wanted;
        wanted.append(text);
    }
    wanted.append(songID);
    return wanted;
}

} // namespace

void GetMusicID3Controller::startWorker(const Worker &worker) {
    ++workers;
    std::thread([this, worker] {
        pthread_setname_np(pthread_self(), "Identify");
        thisWorker = worker;
        startNow(thisWorker);
        NotifyThreadWillExitNotification(thisWorker);
        thisWorker.reset();
        --workers;
        workerEnded.post();
    }).detach();
}

bool GetMusicID3Controller::waitForWorkers(std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (workers > 0 && std::chrono::steady_clock::now() < end)
        workerEnded.waitAtMost(kTurn.count());
    return workers == 0;
}

void GetMusicID3Controller::startNow(const Worker &worker) {
    const std::optional<QVariantMap> taken = takeTask(worker);
    if (!taken) {
        logLine(QStringLiteral("tasks finished ! "));
        return;
    }
    const int32_t songID = worker->task.songID;
    if (!worker->isCancelled())
        performOnMainThread([this, worker, songID] { getID3DidBeginToMainThread(worker, songID); });
    if (isUsable(*taken)) {
        recognise(worker);
        return;
    }
    sleepFor(patience_.unusableTrack, worker->cancel.get_token());
    hopWithError(worker);
}

std::optional<QVariantMap> GetMusicID3Controller::takeTask(const Worker &worker) {
    const std::lock_guard lock(mutex_);
    if (currentThread_ != worker) // given up before it began: the tasks are another's
        return std::nullopt;
    isGettingID3AndCoverImage_ = !needsGetID3PathsAry_.isEmpty();
    if (!isGettingID3AndCoverImage_)
        return std::nullopt;
    QVariantMap task = needsGetID3PathsAry_.takeFirst();
    currentSongID_ = task.value(QStringLiteral("SongID")).toInt();
    waitingSongIDs_.remove(currentSongID_);
    worker->task = {.songID = currentSongID_,
                    .songPath = task.value(QStringLiteral("Path")).toString(),
                    .milliseconds = task.value(QStringLiteral("Length")).toLongLong()};
    return task;
}

void GetMusicID3Controller::recognise(const Worker &worker) {
    // A folder for each: the worker of a task that was given up may still be reading its file.
    const QTemporaryDir folder(
        QStringLiteral("%1/%2-XXXXXX").arg(QDir::tempPath()).arg(QCoreApplication::applicationPid()));
    const QString excerpt = folder.filePath(QStringLiteral("ttstFor22.wav"));
    if (folder.isValid())
        AudioConverter::convertAudioToWav(worker->task.songPath, excerpt, kExcerptSeconds);
    if (!QFile::exists(excerpt))
        logLine(QStringLiteral("the file getID3 convert failed %1").arg(worker->task.songPath));
    worker->waitsForTags = true;
    iD3TagControl_->setWantToGetID3Files({excerpt}, worker->task, worker->cancel.get_token());
}

void GetMusicID3Controller::hopWithError(const Worker &worker) {
    if (worker->isCancelled())
        return;
    const int32_t songID = worker->task.songID;
    performOnMainThread([this, worker, songID] { getMusicID3ErrorToMainThread(worker, songID); });
}

void GetMusicID3Controller::NotifyThreadWillExitNotification(const Worker &worker) {
    {
        const std::lock_guard lock(mutex_);
        if (currentThread_ != worker)
            return;
    }
    const std::lock_guard lock(delegateMutex_);
    if (delegate_)
        delegate_->NotifyGetID3ThreadWillExit();
}

// Tags. An answer that comes on another thread than the question, or a second one, could be that of any task.

GetMusicID3Controller::Worker GetMusicID3Controller::takeTagAnswer() {
    if (thisWorker && thisWorker->waitsForTags.exchange(false))
        return thisWorker;
    logLine(QStringLiteral("the recogniser answered, and nobody had asked"));
    return nullptr;
}

void GetMusicID3Controller::getMusicsID3Info(const QVariantList &musicsInfo) {
    const Worker worker = takeTagAnswer();
    if (!worker)
        return;
    const QVariantMap musicInfo = musicsInfo.value(0).toMap();
    logLine(QStringLiteral(" musicInfo    =    %1  ")
                .arg(QString::fromUtf8(QJsonDocument::fromVariant(musicInfo).toJson(QJsonDocument::Compact))));
    if (musicsInfo.isEmpty() || musicInfo.size() == 1) {
        hopWithError(worker);
        return;
    }
    const int32_t songID = worker->task.songID;
    if (!worker->isCancelled())
        performOnMainThread(
            [this, worker, musicInfo, songID] { getMusicID3InfoToMainThread(worker, musicInfo, songID); });
    getCoverImage(*worker, musicInfo);
}

void GetMusicID3Controller::getMusicID3Error() {
    const Worker worker = takeTagAnswer();
    if (!worker)
        return;
    logLine(QStringLiteral("get Music id3 error  "));
    hopWithError(worker);
}

// Covers

void GetMusicID3Controller::getCoverImage(GetID3Worker &worker, const QVariantMap &musicInfo) {
    const int32_t songID = worker.task.songID;
    worker.waitsForCovers = true;
    if (const auto imageController = GetImageController::defaultManager())
        imageController->getCoverImage(wantedCover(musicInfo, songID), songID, worker.cancel.get_token());
    else
        getCoverImageError({{QStringLiteral("SongID"), songID}});
}

// Covers may come on a thread of their own, and then belong to the task in hand or to none.
GetMusicID3Controller::Worker GetMusicID3Controller::takeCoverAnswer(int32_t songID) {
    Worker worker = thisWorker;
    if (!worker) {
        const std::lock_guard lock(mutex_);
        if (currentThread_ && currentThread_->task.songID == songID)
            worker = currentThread_;
    }
    return worker && worker->waitsForCovers.exchange(false) && !worker->isCancelled() ? worker : nullptr;
}

void GetMusicID3Controller::getCoverImageInfo(const QVariantMap &info) {
    const QStringList paths = info.value(QStringLiteral("ResultAry")).toStringList();
    const int32_t songID = info.value(QStringLiteral("SongID")).toInt();
    logLine(QStringLiteral("received %1 images with SongID = %2 !!!").arg(paths.size()).arg(songID));
    const Worker worker = takeCoverAnswer(songID);
    if (!worker)
        return;
    logLine(QStringLiteral("give the image to mainThread = %1.............").arg(songID));
    performOnMainThread([this, worker, paths, songID] { getCoverImageInfoToMainThread(worker, paths, songID); });
}

void GetMusicID3Controller::getCoverImageError(const QVariantMap &info) {
    const int32_t songID = info.value(QStringLiteral("SongID")).toInt();
    logLine(QStringLiteral("getcoverimage error,songID = %1").arg(songID));
    if (const Worker worker = takeCoverAnswer(songID))
        performOnMainThread([this, worker, songID] { getCoverImageErrorToMainThread(worker, songID); });
}
