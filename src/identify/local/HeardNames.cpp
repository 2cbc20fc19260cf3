#include "identify/local/HeardNames.h"

#include <utility>

HeardNames::HeardNames(FingerprintFile &file, LibraryRows library, std::chrono::milliseconds patience)
    : file_(file), library_(std::move(library)), patience_(patience) {}

void HeardNames::setHasNews(std::function<void()> hasNews) {
    const std::lock_guard guard(lock_);
    hasNews_ = std::move(hasNews);
}

void HeardNames::expect(int32_t songID) {
    const std::lock_guard guard(lock_);
    names_.erase(songID);
    unsaved_.erase(songID);
    expected_[songID] = Clock::now() + patience_;
}

void HeardNames::keep(int32_t songID, const std::optional<Recognition> &name) {
    std::function<void()> hasNews;
    {
        const std::lock_guard guard(lock_);
        expected_.erase(songID);
        names_[songID] = name;
        if (name) {
            unsaved_.insert(songID);
            hasNews = hasNews_;
        }
    }
    kept_.notify_all();
    if (hasNews)
        hasNews();
}

std::optional<Recognition> HeardNames::nameOf(int32_t songID, const std::stop_token &stop) {
    {
        std::unique_lock guard(lock_);
        if (const auto wait = expected_.find(songID); wait != expected_.end())
            kept_.wait_until(guard, stop, Clock::time_point(wait->second),
                             [this, songID] { return !expected_.contains(songID); });
        if (stop.stop_requested() || expected_.contains(songID))
            return std::nullopt;
        if (const auto name = names_.find(songID); name != names_.end())
            return name->second;
    }
    return storedName(songID);
}

std::optional<Recognition> HeardNames::storedName(int32_t songID) {
    const auto stored = file_.nameOf(songID);
    const auto track = stored ? library_.tagsOf(songID) : std::nullopt;
    if (!track || track->addDate != stored->addDate)
        return std::nullopt; // the number is another track's now
    return stored->name;
}

void HeardNames::save() {
    std::map<int32_t, Recognition> news;
    {
        const std::lock_guard guard(lock_);
        for (const int32_t songID : std::exchange(unsaved_, {}))
            if (const auto name = names_.find(songID); name != names_.end() && name->second)
                news.emplace(songID, *name->second);
    }
    for (const auto &[songID, name] : news)
        if (const auto track = library_.tagsOf(songID); track && !file_.keepName(songID, {track->addDate, name})) {
            const std::lock_guard guard(lock_);
            unsaved_.insert(songID); // there may be room the next time
        }
}
