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

SongArray TrackRemoval::bringBack(BusyTurns &turns) const {
    SongArray back;
    for (qsizetype first = 0; first < songs_.size(); first += kRowsAtOnce) {
        const SongArray some = songs_.mid(first, kRowsAtOnce);
        DataBaseManager::defaultManager().inOneTransaction("undo", [&] {
            for (const SongPtr &song : some)
                if (bringBack(*song))
                    back.append(song);
        });
        turns.next(some.size());
    }
    return back;
}

void TrackRemoval::restore(const SongArray &back, TrackLists &lists, const SharedSongArray &shown) const {
    lists.restore(back, allBefore_, newBefore_);
    if (shown != lists.allSongArray() && shown != lists.newRecordArray())
        TrackLists::putBack(back, shownBefore_, *shown);
}

bool TrackRemoval::bringBack(SongItem &song) const {
    if (const auto file = files_.find(&song); file != files_.end()) {
        QString error;
        const QString path = restoreFromTrash(*file, &error);
        if (path.isNull()) {
            logLine(QStringLiteral("%1 does not come back: %2").arg(file->path, error));
            return false;
        }
        song.setSongPath(path);
    }
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
