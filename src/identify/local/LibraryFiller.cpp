#include "identify/local/LibraryFiller.h"

#include "identify/recognition/Fingerprint.h"
#include "identify/recognition/RecognitionSettings.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int kLowestPriority = 19;

std::optional<std::vector<uint32_t>> itemsOf(const QString &path, const std::stop_token &stop) {
    auto fingerprint = fingerprintOfFile(path, kComparedTime, stop);
    if (!fingerprint)
        return std::nullopt;
    return std::move(fingerprint->raw);
}

} // namespace

LibraryFiller::LibraryFiller(LibraryRows library, FingerprintLibrary &fingerprints, FingerprintFile &file,
                             HeardNames &names)
    : LibraryFiller(std::move(library), fingerprints, file, names, &itemsOf, {}) {}

LibraryFiller::LibraryFiller(LibraryRows library, FingerprintLibrary &fingerprints, FingerprintFile &file,
                             HeardNames &names, Fingerprinter fingerprintOf, Pace pace)
    : library_(std::move(library)),
      fingerprints_(fingerprints),
      file_(file),
      names_(names),
      fingerprintOf_(std::move(fingerprintOf)),
      pace_(pace) {
    names_.setHasNews([this] { libraryDidChange(); });
}

LibraryFiller::~LibraryFiller() {
    names_.setHasNews([] {});
    stop();
}

void LibraryFiller::start() {
    if (worker_.joinable())
        return;
    isWorking_ = true;
    worker_ = std::jthread([this](const std::stop_token &stop) { work(stop); });
}

void LibraryFiller::stop() {
    if (!worker_.joinable())
        return;
    worker_.request_stop();
    bool hasEnded = false;
    {
        std::unique_lock guard(lock_);
        hasEnded = change_.wait_for(guard, pace_.end, [this] { return !isWorking_; });
    }
    if (hasEnded)
        worker_.join();
    names_.save();
}

void LibraryFiller::libraryDidChange() {
    {
        const std::lock_guard guard(lock_);
        hasChanged_ = true;
    }
    change_.notify_one();
}

void LibraryFiller::work(const std::stop_token &stop) {
    pthread_setname_np(pthread_self(), "Fingerprints");
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kLowestPriority); // of this thread alone
    while (!stop.stop_requested()) {
        {
            std::unique_lock guard(lock_);
            change_.wait(guard, stop, [this] { return hasChanged_; });
        }
        if (!rest(pace_.settle, stop))
            break;
        {
            const std::lock_guard guard(lock_);
            hasChanged_ = false;
        }
        names_.save();
        fill(stop);
    }
    const std::lock_guard guard(lock_);
    isWorking_ = false;
    change_.notify_all();
}

/// False when it ended with a stop.
bool LibraryFiller::rest(std::chrono::steady_clock::duration time, const std::stop_token &stop) {
    std::unique_lock guard(lock_);
    change_.wait_for(guard, stop, time, [] { return false; });
    return !stop.stop_requested();
}

void LibraryFiller::fill(const std::stop_token &stop) {
    if (!RecognitionSettings::current().fromLibrary)
        return;
    const auto rows = library_.all();
    if (!rows)
        return;
    dropStale(*rows);
    const QHash<int32_t, QByteArray> known = fingerprints_.tracks();
    for (const LibraryRow &row : *rows) {
        if (!row.isIdentified || known.contains(row.songID) || withoutSound_.contains(row.path))
            continue;
        const auto begin = std::chrono::steady_clock::now();
        const auto items = fingerprintOf_(row.path, stop);
        if (stop.stop_requested())
            return;
        if (!items)
            withoutSound_.insert(row.path);
        else if (!fingerprints_.add(row.songID, row.addDate, *items))
            return; // nor would the next one be kept
        if (!rest((std::chrono::steady_clock::now() - begin) * pace_.rest, stop))
            return;
    }
}

void LibraryFiller::dropStale(const QList<LibraryRow> &rows) {
    QHash<int32_t, QByteArray> dates;
    for (const LibraryRow &row : rows)
        dates.insert(row.songID, row.addDate);
    QList<int32_t> stale;
    for (const auto &known : {fingerprints_.tracks(), file_.namedTracks()})
        for (auto track = known.begin(); track != known.end(); ++track)
            if (dates.value(track.key()) != track.value())
                stale << track.key();
    if (!stale.isEmpty())
        fingerprints_.forget(stale);
}
