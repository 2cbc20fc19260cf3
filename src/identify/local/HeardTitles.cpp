#include "identify/local/HeardTitles.h"

#include "identify/local/HeardName.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {

constexpr uint64_t kSecond = 1'000'000'000;
constexpr uint64_t kMillisecond = 1'000'000;

constexpr double kCovered = 0.8;
constexpr uint64_t kEdge = 5 * kSecond;      // so near an end a change counts as at it; at most a quarter of the file
constexpr uint64_t kFirstNews = 2 * kSecond; // what comes so early stood before the watch began
constexpr uint64_t kInterruption = 10 * kSecond; // a title that comes back so soon was never gone
constexpr uint64_t kOverhang = 20 * kSecond;     // the longest that a song's title stands behind the song
constexpr int64_t kLongestSong = 20 * 60 * 1000; // milliseconds
constexpr int64_t kLengthSlack = 10'000;         // milliseconds, or a twentieth
constexpr size_t kMostIntervals = 4000;
constexpr size_t kMostFiles = 64;
constexpr size_t kTitlesToTellAStation = 3;

bool isSameSong(const PlayedTitle &left, const PlayedTitle &right) {
    return left.title == right.title && left.artist == right.artist;
}

/// Length and picture often come a moment behind the title.
void complete(PlayedTitle &title, const PlayedTitle &news) {
    if (!news.album.isNull())
        title.album = news.album;
    if (news.milliseconds != 0)
        title.milliseconds = news.milliseconds;
    if (!news.cover.isEmpty())
        title.cover = news.cover;
    title.isAdvert |= news.isAdvert;
}

uint64_t edgeOf(uint64_t length) { return std::min(kEdge, length / 4); }

} // namespace

void HeardTitles::watchDidBegin(uint64_t hostTime) {
    isWatching_ = true;
    watchBegin_ = hostTime;
}

void HeardTitles::watchDidEnd(uint64_t hostTime) {
    isWatching_ = false;
    if (!intervals_.empty() && intervals_.back().to == kStands)
        intervals_.back().to = hostTime;
    settleAll();
}

void HeardTitles::titleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime) {
    Interval *last = intervals_.empty() ? nullptr : &intervals_.back();
    if (last && title && isSameSong(last->title, *title) &&
        (last->to == kStands || (last->to >= watchBegin_ && hostTime - last->to <= kInterruption))) {
        complete(last->title, *title);
        last->to = kStands;
        return;
    }
    if (last && last->to == kStands) {
        last->to = hostTime;
        last->hasEnd = true;
    }
    if (title) {
        intervals_.push_back({*title, hostTime, kStands, hostTime - watchBegin_ > kFirstNews, false});
        if (intervals_.size() > kMostIntervals)
            intervals_.pop_front();
    }
    settleAll();
}

void HeardTitles::fileWasRecorded(int32_t songID, uint64_t from, uint64_t to) {
    files_.push_back({songID, from, std::max(from, to), false});
    settleAll();
    if (files_.size() <= kMostFiles)
        return;
    const File oldest = files_.front();
    files_.pop_front();
    if (!oldest.isSettled)
        delegate_.trackWasHeard(oldest.songID, std::nullopt);
}

void HeardTitles::settleAll() {
    for (File &file : files_)
        if (!file.isSettled)
            settle(file);
}

void HeardTitles::settle(File &file) {
    const Interval *interval = intervalOver(file);
    const Verdict verdict = interval ? verdictOn(file, *interval) : Verdict::Nameless;
    if (verdict == Verdict::Open)
        return;
    file.isSettled = true;
    delegate_.trackWasHeard(file.songID, verdict == Verdict::Named
                                             ? heardName(interval->title, isArtistOfStation(interval->title))
                                             : std::nullopt);
}

HeardTitles::Verdict HeardTitles::verdictOn(const File &file, const Interval &interval) const {
    if (fitsLength(interval.title, file))
        return Verdict::Named;
    if (coversOthers(interval, file))
        return Verdict::Nameless;
    if (!isOver(interval, file))
        return Verdict::Open;
    return isSong(interval) ? Verdict::Named : Verdict::Nameless;
}

const HeardTitles::Interval *HeardTitles::intervalOver(const File &file) const {
    for (const Interval &interval : intervals_)
        if (covered(interval, file) >= kCovered)
            return &interval;
    return nullptr;
}

/// The share of `file` that lies within `interval`.
double HeardTitles::covered(const Interval &interval, const File &file) {
    const uint64_t edge = edgeOf(file.length());
    uint64_t from = std::max(interval.from, file.from);
    uint64_t to = std::min(interval.to, file.to);
    if (to <= from)
        return 0;
    if (from - file.from <= edge)
        from = file.from;
    if (file.to - to <= edge)
        to = file.to;
    return static_cast<double>(to - from) / static_cast<double>(file.length());
}

bool HeardTitles::fitsLength(const PlayedTitle &title, const File &file) {
    const int64_t length = static_cast<int64_t>(file.length() / kMillisecond);
    return title.milliseconds > 0 &&
           std::abs(title.milliseconds - length) <= std::max(kLengthSlack, title.milliseconds / 20);
}

/// Nothing that is still to come changes what the title is to the file.
bool HeardTitles::isOver(const Interval &interval, const File &file) const {
    if (!isWatching_)
        return true;
    if (interval.to == kStands)
        return false;
    const uint64_t overhang = std::min(kOverhang, file.length() / 4);
    return interval.to <= file.to + overhang || files_.back().from >= file.to;
}

bool HeardTitles::coversOthers(const Interval &interval, const File &file) const {
    return std::any_of(files_.begin(), files_.end(), [&](const File &other) {
        const bool isShort = other.length() < file.length() / 4; // a jingle over which the song's title still stands
        return other.songID != file.songID && !isShort && covered(interval, other) >= 0.5;
    });
}

bool HeardTitles::isSong(const Interval &interval) {
    const bool hasLengthOfSong = interval.title.milliseconds > 0 && interval.title.milliseconds <= kLongestSong;
    return interval.to - interval.from <= kLongestSong * kMillisecond &&
           (interval.hasBegin || interval.hasEnd || hasLengthOfSong);
}

/// Several titles of the form "Artist - Title" in which everything is different but the artist beside them.
bool HeardTitles::isArtistOfStation(const PlayedTitle &title) const {
    std::set<QString> artists, songs;
    for (const Interval &interval : intervals_) {
        if (interval.title.artist != title.artist || interval.title.milliseconds != 0)
            continue;
        if (const auto halves = halvesOf(interval.title.title)) {
            artists.insert(halves->first);
            songs.insert(halves->second);
        }
    }
    return std::min(artists.size(), songs.size()) >= kTitlesToTellAStation;
}
