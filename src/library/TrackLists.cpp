#include "library/TrackLists.h"

#include "platform/run/FoldedText.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

// The localised texts stand in it as they are: a translation with a quote in it is no longer one.
QString untaggedFormat() {
    return QStringLiteral("title.length == 0 || artist.length == 0 || (title CONTAINS[cd] '%1') || artist == '%2'")
        .arg(localizedString("Track"), localizedString("Unknown Artist"));
}

constexpr qint64 kLeast = std::numeric_limits<qint64>::min();
constexpr qint64 kMost = std::numeric_limits<qint64>::max();

qint64 saturatedSum(qint64 sum, qint64 value) {
    if (__builtin_add_overflow(sum, value, &sum))
        return value < 0 ? kLeast : kMost;
    return sum;
}

} // namespace

TrackLists::TrackLists() {
    PredicateError error;
    untaggedPredicate_ = Predicate::parse(untaggedFormat(), &error);
    if (!untaggedPredicate_) {
        logLine(QStringLiteral("getUntaggedMusic: no predicate at %1: %2 in %3")
                    .arg(QString::number(error.position), error.message, untaggedFormat()));
        return;
    }
    for (const QString &key : untaggedPredicate_->keys())
        untaggedKeys_ << SongItem::valueGetterForKey(key);
}

TrackLists::TrackLists(SongArray songs) : TrackLists() {
    for (const SongPtr &song : std::as_const(songs)) // before the sort, in the order in which they lie in memory
        noteUntagged(*song);
    sortUsingDescriptors(songs, {{"addedDate", /*ascending=*/false, SortComparison::Compare}});
    index_.emplace(songs);
    *marrAllSongs_ = std::move(songs);
}

void TrackLists::takeTracks(TrackLists loaded) {
    if (!marrAllSongs_->isEmpty()) {
        QSet<int32_t> listed;
        for (const SongPtr &song : std::as_const(*marrAllSongs_))
            listed.insert(song->songID());
        SongArray twice;
        std::ranges::copy_if(std::as_const(*loaded.marrAllSongs_), std::back_inserter(twice),
                             [&](const SongPtr &song) { return listed.contains(song->songID()); });
        loaded.remove(twice);
        loaded.noteImported(*marrAllSongs_);
    }
    *marrAllSongs_ += *loaded.marrAllSongs_;
    sortedBy_.clear();
    summary_.reset();
    untagged_.unite(loaded.untagged_);
    index_ = std::move(loaded.index_);
}

void TrackLists::insertNewRecording(const SongPtr &song) {
    marrNewRecord_->prepend(song);
    marrAllSongs_->prepend(song);
    sortedBy_.clear();
    noteAdded(*song);
    noteUntagged(*song);
    if (index_)
        index_->put(*song);
}

void TrackLists::noteImported(const SongArray &songs) {
    for (const SongPtr &song : songs) {
        noteUntagged(*song);
        if (index_)
            index_->put(*song);
    }
}

void TrackLists::insertImported(const SongArray &songs) {
    SongArray all;
    all.reserve(songs.size() + marrAllSongs_->size());
    std::ranges::reverse_copy(songs, std::back_inserter(all));
    all += *marrAllSongs_;
    *marrAllSongs_ = std::move(all);
    sortedBy_.clear();
    summary_.reset();
}

void TrackLists::sortAllSongs(const QList<SortDescriptor> &descriptors) {
    if (descriptors != std::exchange(sortedBy_, descriptors))
        sortUsingDescriptors(*marrAllSongs_, descriptors);
}

void TrackLists::remove(const SongArray &songs) {
    QSet<const SongItem *> gone;
    for (const SongPtr &song : songs) {
        gone.insert(song.get());
        untagged_.remove(song.get());
        if (index_)
            index_->remove(*song);
    }
    const auto isGone = [&gone](const SongPtr &song) { return gone.contains(song.get()); };
    if (marrAllSongs_->removeIf(isGone) != songs.size())
        summary_.reset();
    for (const SongPtr &song : songs)
        noteRemoved(*song);
    marrNewRecord_->removeIf(isGone);
}

void TrackLists::noteAdded(const SongItem &song) {
    if (!summary_)
        return;
    ++summary_->count;
    if (__builtin_add_overflow(summary_->length, song.length(), &summary_->length) ||
        __builtin_add_overflow(summary_->size, song.size(), &summary_->size))
        summary_.reset();
}

void TrackLists::noteRemoved(const SongItem &song) {
    if (!summary_)
        return;
    --summary_->count;
    if (__builtin_sub_overflow(summary_->length, song.length(), &summary_->length) ||
        __builtin_sub_overflow(summary_->size, song.size(), &summary_->size))
        summary_.reset();
}

void TrackLists::restore(const SongArray &songs, const SongArray &allBefore, const SongArray &newBefore) {
    sortedBy_.clear();
    summary_.reset();
    for (const SongPtr &song : songs) {
        noteUntagged(*song);
        if (index_)
            index_->put(*song);
    }
    putBack(songs, allBefore, *marrAllSongs_);
    putBack(songs, newBefore, *marrNewRecord_);
}

void TrackLists::putBack(const SongArray &songs, const SongArray &before, SongArray &now) {
    const QSet<SongPtr> missing(songs.begin(), songs.end());
    QHash<const SongItem *, qsizetype> places;
    places.reserve(before.size());
    for (qsizetype i = 0; i < before.size(); ++i)
        places.insert(before.at(i).get(), i);
    SongArray whole;
    whole.reserve(now.size() + songs.size());
    qsizetype passed = 0; // of `before`
    const auto passTo = [&](qsizetype end) {
        for (; passed < end; ++passed)
            if (missing.contains(before.at(passed)))
                whole.append(before.at(passed));
    };
    for (const SongPtr &song : std::as_const(now)) {
        passTo(places.value(song.get(), 0));
        whole.append(song);
    }
    passTo(before.size());
    now = std::move(whole);
}

void TrackLists::songChanged(const SongPtr &song) {
    if (!marrAllSongs_->contains(song))
        return; // it was deleted while its texts were on their way
    sortedBy_.clear();
    summary_.reset();
    noteUntagged(*song);
    if (index_)
        index_->put(*song);
}

SongPtr TrackLists::getSongItemWithID(int32_t songID) const {
    const auto song = std::ranges::find(std::as_const(*marrAllSongs_), songID, &SongItem::songID);
    if (song != marrAllSongs_->cend())
        return *song;
    logLine(QStringLiteral("error,the songID %1 not find songItem").arg(songID));
    return nullptr;
}

SharedSongArray TrackLists::getUntaggedMusic() const {
    auto untagged = std::make_shared<SongArray>();
    untagged->reserve(untagged_.size());
    std::ranges::copy_if(std::as_const(*marrAllSongs_), std::back_inserter(*untagged),
                         [this](const SongPtr &song) { return untagged_.contains(song.get()); });
    return untagged;
}

bool TrackLists::isUntagged(const SongItem &song) const {
    return untaggedPredicate_ &&
           untaggedPredicate_->evaluateWith([&](qsizetype index) { return untaggedKeys_.at(index)(song); });
}

void TrackLists::noteUntagged(const SongItem &song) {
    if (isUntagged(song))
        untagged_.insert(&song);
    else
        untagged_.remove(&song);
}

SharedSongArray TrackLists::search(const SharedSongArray &base, const QString &text) const {
    const QStringView wanted = withoutBlanks(text);
    if (wanted.isEmpty())
        return base;
    if (!index_)
        index_.emplace(*marrAllSongs_);
    return std::make_shared<SongArray>(index_->songsHolding(foldedText(wanted), *base));
}

TrackLists::Summary TrackLists::summaryOf(const SongArray &songs) {
    Summary summary{.count = static_cast<int>(songs.size())};
    for (const SongPtr &song : songs) {
        summary.length = saturatedSum(summary.length, song->length());
        summary.size = saturatedSum(summary.size, song->size());
    }
    return summary;
}

TrackLists::Summary TrackLists::summaryOfAll() const {
    const Summary summary = summary_ ? *summary_ : summaryOf(*marrAllSongs_);
    const auto isExact = [](qint64 sum) { return sum != kLeast && sum != kMost; };
    summary_.reset();
    if (isExact(summary.length) && isExact(summary.size))
        summary_ = summary;
    return summary;
}
