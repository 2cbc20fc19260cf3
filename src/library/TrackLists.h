// The lists of the library page: every track, and those of this run.
//
// Threads: main; one thread may make lists and hand them over to another.
#pragma once

#include "library/SearchIndex.h"
#include "platform/run/Predicate.h"
#include "store/SortDescriptor.h"

#include <QSet>
#include <optional>

class TrackLists {
public:
    TrackLists();
    /// Of the tracks of the library file: sorted by date, the newest first, and ready for a search.
    explicit TrackLists(SongArray songs);

    /// Every track, newest first. Whoever shows it may sort it in place; tracks come and go only here.
    const SharedSongArray &allSongArray() const { return marrAllSongs_; }
    /// The tracks of this run, newest first: each stands in allSongArray() as well.
    const SharedSongArray &newRecordArray() const { return marrNewRecord_; }

    /// Takes the tracks of `loaded` in behind its own, which came while they were read. A track that both have is the
    /// one that came.
    void takeTracks(TrackLists loaded);
    void insertNewRecording(const SongPtr &song);
    /// Most of the work of insertImported(), for some of its songs ahead of it. It must follow soon: they count among
    /// the untagged ones from here on.
    void noteImported(const SongArray &songs);
    /// Puts `songs`, each of them noted, before all others, the last of them first, in one pass whatever their number.
    /// They are not of this run.
    void insertImported(const SongArray &songs);
    /// Sorts all tracks in place, unless they stand in that order already. Whoever else sorts them does it by what the
    /// next call here asks for.
    void sortAllSongs(const QList<SortDescriptor> &descriptors);
    /// Takes `songs` out of both lists, in one pass whatever their number.
    void remove(const SongArray &songs);
    /// Puts removed tracks back to where they stood in the lists as these were.
    void restore(const SongArray &songs, const SongArray &allBefore, const SongArray &newBefore);
    /// Puts those of `songs` that stood in `before` back into `now`, each before what followed it then.
    static void putBack(const SongArray &songs, const SongArray &before, SongArray &now);
    /// Title, artist, album or size of `song` changed. Must follow each such change; nothing for a track of no list.
    void songChanged(const SongPtr &song);

    /// The first track with this number; null, and a line in the log, if there is none.
    SongPtr getSongItemWithID(int32_t songID) const;

    /// A new list of the tracks that lack a title or an artist of their own, in the order of allSongArray().
    SharedSongArray getUntaggedMusic() const;
    int untaggedCount() const { return static_cast<int>(untagged_.size()); }

    /// A new list of those of `base` whose title, artist or album holds `text`, without regard to case and diacritics;
    /// `base` itself where `text` is blank. Blanks and tabs around it don't count.
    SharedSongArray search(const SharedSongArray &base, const QString &text) const;

    /// Milliseconds and bytes in all. A sum that no number holds stays at the nearest that one does.
    struct Summary {
        int count = 0;
        qint64 length = 0;
        qint64 size = 0;
    };
    static Summary summaryOf(const SongArray &songs);
    /// Of allSongArray(), without a look at each of its tracks where one came or went since the last call.
    Summary summaryOfAll() const;

private:
    bool isUntagged(const SongItem &song) const;
    void noteUntagged(const SongItem &song);
    void noteAdded(const SongItem &song);
    void noteRemoved(const SongItem &song);

    SharedSongArray marrAllSongs_ = std::make_shared<SongArray>();
    SharedSongArray marrNewRecord_ = std::make_shared<SongArray>();

    std::optional<Predicate> untaggedPredicate_; // nothing where the localised texts make it none
    QList<SongItem::ValueGetter> untaggedKeys_;  // of untaggedPredicate_
    QList<SortDescriptor> sortedBy_;             // what sortAllSongs() did last; nothing after a change
    QSet<const SongItem *> untagged_;            // of allSongArray()

    // Knows all of allSongArray(); made by the first search where nothing was loaded.
    mutable std::optional<SearchIndex> index_;
    mutable std::optional<Summary> summary_; // of allSongArray(); nothing while unknown
};
