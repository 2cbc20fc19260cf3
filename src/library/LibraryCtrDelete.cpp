// How tracks leave the library.
#include "library/LibraryCtr.h"

#include "identify/queue/GetMusicID3Controller.h"
#include "library/Filtered.h"
#include "library/TrackRemoval.h"
#include "platform/desktop/FileManager.h"
#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/NotificationCenter.h"
#include "store/DataBaseManager.h"
#include "views/dialogs/BusyTurns.h"
#include "views/library/MyTableView.h"
#include "views/window/LibraryPage.h"

#include <QApplication>
#include <QFile>
#include <QSet>

namespace {
constexpr qsizetype kRowsAtOnce = 50; // deleted in some milliseconds, with their covers

// No answer shall come for a track that has gone.
void stopIdentifying(const SongArray &songs) {
    QList<int32_t> songIDs;
    for (const SongPtr &song : songs)
        switch (static_cast<ID3Status>(song->getID3Status())) {
        case ID3Status::NotAsked:
        case ID3Status::NotFound:
        case ID3Status::Identified:
            break;
        default:
            songIDs.append(song->songID());
        }
    if (!songIDs.isEmpty() && GetMusicID3Controller::isExistobject())
        GetMusicID3Controller::defaultManager()->deleteTaskWithSongIDs(songIDs);
}
} // namespace

bool LibraryCtr::isListFocused() const {
    const QWidget *focus = QApplication::focusWidget();
    const auto holds = [focus](const QWidget *view) { return view == focus || view->isAncestorOf(focus); };
    return focus && (holds(listViewCtr_->tableView()) || holds(categoryViewCtr_->view()));
}

void LibraryCtr::deleteItems() {
    // Behind the tools lies the list of the category that was left, its selection with it.
    if (listViewCtr_->tableView()->selectedRow() < 0 || isToolKitShown())
        return;
    if (!isListFocused()) {
        logLine("is text");
        return;
    }
    askAndDelete(selectedSongs());
}

void LibraryCtr::askAndDelete(const SongArray &songs) {
    const Panel question{// The blanks widen the panel.
                         localizedString("Do you want to move these items to the trash?                       "),
                         localizedString("* Only the files recorded by Tessarine will be moved to the Trash."),
                         {localizedString("Delete"), localizedString("Cancel")},
                         {}};
    if (runPanel(question).button == 0)
        deleteSongItems(songs);
}

// Events are handled meanwhile: `songs` is no list of anybody's.
void LibraryCtr::deleteSongItems(SongArray songs, bool isFilterAds, TrackRemoval *removal) {
    stopIdentifying(songs);
    logLine("deleteSongItems ---");
    const int firstRow = isFilterAds ? 0 : listViewCtr_->tableView()->selectedRow();
    throwAway(songs, removal);
    const QSet<SongPtr> gone(songs.begin(), songs.end());
    const SongArray ofThisRun =
        filtered(*lists_.newRecordArray(), [&gone](const SongPtr &song) { return gone.contains(song); });
    lists_.remove(songs);
    // Search results and the untagged tracks are arrays of their own.
    listViewCtr_->songArray()->removeIf([&gone](const SongPtr &song) { return gone.contains(song); });
    listViewCtr_->reloadData();
    if (const auto rows = static_cast<int>(listViewCtr_->songArray()->size()); rows > 0)
        selectRow(qBound(0, firstRow, rows - 1));
    else
        editCtr_->changeID3Edit();
    if (!ofThisRun.isEmpty())
        NotificationCenter::defaultCenter().postNotification("HasDeleteSongItemNotification", ofThisRun);
    if (gone.contains(playCtr_->playItem()))
        playCtr_->stopPlay();
    selectedDidChange();
    updateEmptyText();
    refreshCounts();
}

/// Files and rows. A program that is killed in the midst leaves few rows whose files went.
void LibraryCtr::throwAway(const SongArray &songs, TrackRemoval *removal) {
    BusyTurns turns(views_.page.window(), localizedString("Removing tracks..."), songs.size());
    bool isKept = true;
    for (qsizetype first = 0; first < songs.size(); first += kRowsAtOnce) {
        const SongArray some = songs.mid(first, kRowsAtOnce);
        for (const SongPtr &song : some) {
            if (removal)
                removal->keepCovers(*song);
            throwAway(*song, removal);
            turns.next();
        }
        isKept = DataBaseManager::defaultManager().deleteSongItems(some) && isKept;
    }
    if (!isKept)
        delegate_.libraryWasNotWritten(localizedString("Tracks that you removed come back at the next start."));
}

/// Only what the program recorded goes to the Trash. The track leaves the library all the same when its file does not.
void LibraryCtr::throwAway(const SongItem &song, TrackRemoval *removal) {
    if (song.isImported() || !QFile::exists(song.songPath()))
        return;
    QString error;
    TrashedFile trashed;
    if (moveToTrash(song.songPath(), &error, &trashed)) {
        if (removal)
            removal->didTrash(song, trashed);
        return;
    }
    logLine(QStringLiteral("%1 stays: %2").arg(song.songPath(), error));
    runPanel({localizedString("Remove the music failed! Maybe it is in use,or you do not have the privilege to do so"),
              song.songPath(),
              {localizedString("OK")},
              {}});
}
