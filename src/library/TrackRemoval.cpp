#include "library/TrackRemoval.h"

#include "library/IdentifyCtr.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "views/dialogs/BusyTurns.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>
#include <utility>

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
        const QString copy = newKeptName(cover);
        const bool isLinked = link(QFile::encodeName(cover).constData(), QFile::encodeName(copy).constData()) == 0;
        if (isLinked || QFile::copy(cover, copy))
            kept << copy;
    }
    covers_.insert(&song, kept);
}

// What the library has moved of them may stand where the next cover of the same number goes.
void TrackRemoval::keepCoversAgain(const SongItem &song) {
    QStringList kept;
    for (const QString &cover : song.coverImages()) {
        const QString name = newKeptName(cover);
        kept << (QFile::rename(cover, name) ? name : cover);
    }
    covers_.insert(&song, kept);
}

QString TrackRemoval::newKeptName(const QString &cover) {
    return QStringLiteral("%1/%2 %3").arg(keptCovers(), QString::number(++keptNumber_), QFileInfo(cover).fileName());
}

// The rows first: a full disk shows when they are to be kept, and a file in the Trash is better off there than in a
// folder where nothing knows of it.
SongArray TrackRemoval::bringBack(BusyTurns &turns) {
    auto &dataBase = DataBaseManager::defaultManager();
    SongArray back;
    const SongArray songs = std::exchange(songs_, {});
    for (qsizetype first = 0; first < songs.size(); first += kRowsAtOnce) {
        const SongArray some = songs.mid(first, kRowsAtOnce);
        SongArray taken;
        const bool isKept = dataBase.inOneTransaction("undo", [&] {
            for (const SongPtr &song : some)
                if (bringBackRow(*song))
                    taken.append(song);
                else
                    refuse(song);
        });
        if (isKept) {
            back += bringBackFiles(taken);
        } else {
            for (const SongPtr &song : std::as_const(taken))
                refuse(song);
            dataBase.deleteSongItems(taken); // what came into the library behind the failure
        }
        turns.next(some.size());
    }
    return back;
}

void TrackRemoval::refuse(const SongPtr &song) {
    keepCoversAgain(*song);
    songs_.append(song);
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
