#include "library/TrackRemoval.h"

#include "library/IdentifyCtr.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "views/dialogs/BusyTurns.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <iterator>
#include <unistd.h>

namespace {

constexpr qsizetype kRowsAtOnce = 50; // brought back in some milliseconds, with their files

QString keptCovers() { return coverImageFolder() + QStringLiteral("/Removed"); }

} // namespace

TrackRemoval::TrackRemoval(const SongArray &songs, const TrackLists &lists, const SongArray &shown)
    : songs_(songs), allBefore_(*lists.allSongArray()), newBefore_(*lists.newRecordArray()), shownBefore_(shown) {
    QDir(keptCovers()).removeRecursively(); // what a program that was killed has left
}

TrackRemoval::~TrackRemoval() { QDir(keptCovers()).removeRecursively(); }

void TrackRemoval::keepCovers(const SongItem &song) {
    if (song.coverImages().isEmpty() || !QDir().mkpath(keptCovers()))
        return;
    QStringList kept;
    for (const QString &cover : song.coverImages()) {
        const QString copy = keptCovers() + QLatin1Char('/') + QFileInfo(cover).fileName();
        const bool isLinked = link(QFile::encodeName(cover).constData(), QFile::encodeName(copy).constData()) == 0;
        if (isLinked || QFile::copy(cover, copy))
            kept << copy;
    }
    covers_.insert(&song, kept);
}

// The rows first: a full disk shows when they are to be kept, and a file in the Trash is better off there than in a
// folder where nothing knows of it.
TrackRemoval::Restored TrackRemoval::bringBack(BusyTurns &turns) const {
    auto &dataBase = DataBaseManager::defaultManager();
    Restored restored;
    for (qsizetype first = 0; first < songs_.size(); first += kRowsAtOnce) {
        const SongArray some = songs_.mid(first, kRowsAtOnce);
        SongArray taken;
        const bool isKept = dataBase.inOneTransaction("undo", [&] {
            std::ranges::copy_if(some, std::back_inserter(taken),
                                 [this](const auto &song) { return bringBackRow(*song); });
        });
        restored.isStored = restored.isStored && isKept && taken.size() == some.size();
        if (isKept)
            restored.songs += bringBackFiles(taken);
        else
            dataBase.deleteSongItems(taken); // their covers, and what came into the library behind the failure
        turns.next(some.size());
    }
    return restored;
}

void TrackRemoval::restore(const SongArray &back, TrackLists &lists, const SharedSongArray &shown) const {
    lists.restore(back, allBefore_, newBefore_);
    if (shown != lists.allSongArray() && shown != lists.newRecordArray())
        TrackLists::putBack(back, shownBefore_, *shown);
}

SongArray TrackRemoval::bringBackFiles(const SongArray &songs) const {
    SongArray back;
    SongArray lost;
    SongArray moved;
    for (const SongPtr &song : songs) {
        const QString path = song->songPath();
        (bringBackFile(*song) ? back : lost).append(song);
        if (song->songPath() != path)
            moved.append(song);
    }
    if (!lost.isEmpty())
        DataBaseManager::defaultManager().deleteSongItems(lost);
    if (!moved.isEmpty())
        DataBaseManager::defaultManager().updateSongItems(moved);
    return back;
}

bool TrackRemoval::bringBackFile(SongItem &song) const {
    const auto file = files_.find(&song);
    if (file == files_.end())
        return true;
    QString error;
    const QString path = restoreFromTrash(*file, &error);
    if (path.isNull()) {
        logLine(QStringLiteral("%1 does not come back: %2").arg(file->path, error));
        return false;
    }
    song.setSongPath(path);
    return true;
}

bool TrackRemoval::bringBackRow(SongItem &song) const {
    leaveQueue(song); // its removal has ended what was asked
    song.setCoverImages(covers_.value(&song));
    if (song.coverImageIndex() >= song.coverImages().size())
        song.setCoverImageIndex(-1);
    const int32_t number = DataBaseManager::defaultManager().insertSongItem(song);
    if (number < 0)
        return false;
    song.setSongID(number);
    return true;
}
