#include "library/ImportFileController.h"

#include "library/ImportFiles.h"
#include "views/dialogs/ImportResultView.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kLookInterval{30};
constexpr qint64 kTimeToSheet = 300; // ms of search
constexpr qint64 kPatience = 500;    // ms after a cancel, which an ordinary file never takes
constexpr std::chrono::milliseconds kPatienceAtEnd{200};
constexpr int32_t kCancelled = -1;

} // namespace

/// What the two threads share. It lives as long as the longer of them.
struct ImportWork {
    // The thread's own once it runs
    QStringList files;
    QStringList known;

    std::atomic<int32_t> resultCode = 0; // the main thread sets it, and it stands alone: relaxed

    std::mutex mutex; // guards what follows
    std::condition_variable ended;
    bool hasFound = false;
    bool hasEnded = false; // also set by the main thread when it waits no longer: nothing is added then
    qsizetype maximum = 0; // files to be read
    QString message;       // the last file that became a track
    SongArray sounds;
    QStringList failures;

    bool isCancelled() const { return resultCode.load(std::memory_order_relaxed) == kCancelled; }
};

namespace {

void readFile(ImportWork &work, const ImportFile &file, ImportCovers &covers) {
    const SongPtr song =
        file.isReadable ? ImportFileController::songItemWithContentsOfFile(file.path, covers) : nullptr;
    const std::lock_guard guard(work.mutex);
    if (work.hasEnded)
        return;
    if (song) {
        work.message = file.path;
        work.sounds.append(song);
    } else {
        work.failures.append(file.path);
    }
}

void importThreadFun(const std::shared_ptr<ImportWork> &work) {
    pthread_setname_np(pthread_self(), "Import");
    const auto isCancelled = [&work] { return work->isCancelled(); };
    const QList<ImportFile> files = filesToImport(work->files, work->known, isCancelled);
    work->known.clear();
    if (!isCancelled()) {
        {
            const std::lock_guard guard(work->mutex);
            work->hasFound = !files.isEmpty();
            work->maximum = files.size();
        }
        ImportCovers covers;
        for (const ImportFile &file : files) {
            if (isCancelled())
                break;
            readFile(*work, file, covers);
        }
    }
    const std::lock_guard guard(work->mutex);
    work->hasEnded = true;
    work->ended.notify_all();
}

} // namespace

ImportFileController::ImportFileController(ImportFileControllerDelegate &delegate, const QStringList &known)
    : delegate_(delegate), work_(std::make_shared<ImportWork>()) {
    work_->known = known;
    lookTimer_.setInterval(kLookInterval);
    connect(&lookTimer_, &QTimer::timeout, this, &ImportFileController::look);
}

ImportFileController::~ImportFileController() {
    if (!thread_.joinable())
        return;
    awaitEnd();
    takeResults();
}

void ImportFileController::finish() {
    if (!thread_.joinable())
        return;
    awaitEnd();
    importDone();
}

void ImportFileController::awaitEnd() {
    work_->resultCode.store(kCancelled, std::memory_order_relaxed);
    std::unique_lock lock(work_->mutex);
    work_->ended.wait_for(lock, kPatienceAtEnd, [this] { return work_->hasEnded; });
}

void ImportFileController::setFiles(const QStringList &files) { work_->files = files; }

void ImportFileController::runModalForMainWindow(QWidget *window) {
    window_ = window;
    thread_ = std::thread([work = work_] { importThreadFun(work); });
    clock_.start();
    lookTimer_.start();
}

bool ImportFileController::isUserCancelled() const { return work_->isCancelled(); }

void ImportFileController::cancelButtonClick() {
    work_->resultCode.store(kCancelled, std::memory_order_relaxed);
    view_->disableCancel();
    clock_.start();
}

// The worker tells nobody: who is left to itself has nobody to tell.
void ImportFileController::look() {
    bool hasFound = false;
    bool hasEnded = false;
    {
        const std::lock_guard guard(work_->mutex);
        hasFound = work_->hasFound;
        hasEnded = work_->hasEnded;
    }
    if (hasEnded || (isUserCancelled() && clock_.elapsed() >= kPatience)) {
        importDone();
        return;
    }
    if (hasFound || clock_.elapsed() >= kTimeToSheet)
        showSheet();
    if (!hasFound)
        return;
    const std::lock_guard guard(work_->mutex);
    view_->setProgressMinValue(0);
    view_->setProgressMaxValue(static_cast<int>(work_->maximum));
    view_->setProgressCurrentValue(static_cast<int>(work_->sounds.size()));
    if (!work_->message.isNull())
        view_->setMessage(work_->message);
}

void ImportFileController::showSheet() {
    if (view_)
        return;
    view_ = std::make_unique<ImportFileView>(*this, window_);
    view_->show();
}

void ImportFileController::importDone() {
    lookTimer_.stop();
    const Results results = takeResults();
    failures_ = results.failures;
    if (view_)
        view_->disableCancel();
    delegate_.importFileDidEnd(*this, results.sounds, results.hasFound || isUserCancelled());
}

ImportFileController::Results ImportFileController::takeResults() {
    std::unique_lock lock(work_->mutex);
    const bool hasEnded = std::exchange(work_->hasEnded, true);
    Results results{std::exchange(work_->sounds, {}), std::exchange(work_->failures, {}), work_->hasFound};
    lock.unlock();
    if (hasEnded)
        thread_.join();
    else
        thread_.detach();
    return results;
}

void ImportFileController::endSheet() {
    view_.reset();
    showImportResultInfo(failures_);
    delegate_.importSheetDidEnd();
}

void ImportFileController::showImportResultInfo(const QStringList &files) {
    if (files.isEmpty())
        return;
    auto *result = new ImportResultView(window_);
    result->setFiles(files);
    result->runModal();
}

QString ImportFileController::formatDurationString(int seconds) {
    return seconds >= 3600 ? QString::asprintf("%2d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60)
                           : QString::asprintf("%2d:%02d", seconds / 60, seconds % 60);
}
