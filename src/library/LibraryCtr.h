// The lists of tracks, and what is told of them in the status line.
//
// Threads: main.
#pragma once

#include "store/SongItem.h"

#include <QList>
#include <memory>

/// Hears what the library has to say. Outlives its LibraryCtr.
class LibraryCtrDelegate {
public:
    /// Text for the status line; null clears it.
    virtual void displayStatus([[maybe_unused]] const QString &status) {}

protected:
    ~LibraryCtrDelegate() = default;
};

class LibraryCtr {
public:
    explicit LibraryCtr(LibraryCtrDelegate &delegate) : delegate_(delegate) {}

    /// A finished recording arrives.
    void addNewRecordingSong(const std::shared_ptr<SongItem> &song);
    /// The tracks recorded in this run, newest first.
    const QList<std::shared_ptr<SongItem>> &newRecordArray() const { return marrNewRecord_; }

    /// Tells of the tracks of this run: number, length, size.
    void showNewRecordStatus();

private:
    LibraryCtrDelegate &delegate_;
    QList<std::shared_ptr<SongItem>> marrNewRecord_;
};
