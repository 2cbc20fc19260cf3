// What a removal took out of the library, kept so that it can be undone.
//
// The files are in the Trash. The covers, which the library deletes with a track's row, have a second name in a folder
// of their own until then; it goes with this object.
//
// Threads: main.
#pragma once

#include "library/TrackLists.h"
#include "platform/desktop/FileManager.h"

#include <QHash>

class TrackRemoval {
public:
    /// `songs` are about to leave the lists, and `shown`, which may be one of them.
    TrackRemoval(const SongArray &songs, const TrackLists &lists, const SongArray &shown);
    ~TrackRemoval();
    TrackRemoval(const TrackRemoval &) = delete;
    TrackRemoval &operator=(const TrackRemoval &) = delete;

    void didTrash(const SongItem &song, const TrashedFile &file) { files_.insert(&song, file); }

    /// Brings back the files, the rows in the database and the tracks in the lists, each at its old place. Tracks whose
    /// files the Trash no longer has stay away. `shown` is the list shown now. Those that came back.
    SongArray undo(TrackLists &lists, const SharedSongArray &shown);

private:
    void keepCovers(const SongItem &song);
    bool bringBack(SongItem &song) const;

    SongArray songs_;
    SongArray allBefore_;
    SongArray newBefore_;
    SongArray shownBefore_;
    QHash<const SongItem *, TrashedFile> files_;
    QHash<const SongItem *, QStringList> covers_;
};
