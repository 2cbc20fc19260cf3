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

class BusyTurns;

class TrackRemoval {
public:
    /// `songs` are about to leave the lists, and `shown`, which may be one of them.
    TrackRemoval(const SongArray &songs, const TrackLists &lists, const SongArray &shown);
    ~TrackRemoval();
    TrackRemoval(const TrackRemoval &) = delete;
    TrackRemoval &operator=(const TrackRemoval &) = delete;

    /// Before the library deletes the row.
    void keepCovers(const SongItem &song);
    void didTrash(const SongItem &song, const TrashedFile &file) { files_.insert(&song, file); }

    qsizetype count() const { return songs_.size(); }
    /// Brings back the rows in the database and the files, and gives `turns` between them. The tracks that came back:
    /// neither those whose files the Trash no longer has, nor those that the library does not take, whose files stay
    /// in the Trash.
    SongArray bringBack(BusyTurns &turns);
    /// After bringBack(): the library did not take all rows, and may take what is left at another try.
    bool isUnfinished() const { return !songs_.isEmpty(); }
    /// Puts `back` into the lists, each track at its old place. `shown` is the list shown now.
    void restore(const SongArray &back, TrackLists &lists, const SharedSongArray &shown) const;

private:
    void keepCoversAgain(const SongItem &song);
    QString newKeptName(const QString &cover);
    void refuse(const SongPtr &song);
    bool bringBackRow(SongItem &song) const;
    bool bringBackFile(SongItem &song) const;
    SongArray bringBackFiles(const SongArray &songs) const;

    SongArray songs_; // those that are gone
    SongArray allBefore_;
    SongArray newBefore_;
    SongArray shownBefore_;
    QHash<const SongItem *, TrashedFile> files_;
    QHash<const SongItem *, QStringList> covers_;
    int keptNumber_ = 0; // of the cover that was kept last
};
