#include "library/TrackRemoval.h"

#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace {
QString keptCovers() { return coverImageFolder() + QStringLiteral("/Removed"); }
} // namespace

TrackRemoval::TrackRemoval(const SongArray &songs, const TrackLists &lists, const SongArray &shown)
    : songs_(songs), allBefore_(*lists.allSongArray()), newBefore_(*lists.newRecordArray()), shownBefore_(shown) {
    QDir(keptCovers()).removeRecursively(); // what a program that was killed has left
    for (const SongPtr &song : songs)
        keepCovers(*song);
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

SongArray TrackRemoval::undo(TrackLists &lists, const SharedSongArray &shown) {
    SongArray back;
    DataBaseManager::defaultManager().inOneTransaction("undo", [&] {
        for (const SongPtr &song : std::as_const(songs_))
            if (bringBack(*song))
                back.append(song);
    });
    lists.restore(back, allBefore_, newBefore_);
    if (shown != lists.allSongArray() && shown != lists.newRecordArray())
        TrackLists::putBack(back, shownBefore_, *shown);
    return back;
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
    song.setCoverImages(covers_.value(&song));
    if (song.coverImageIndex() >= song.coverImages().size())
        song.setCoverImageIndex(-1);
    const int32_t number = DataBaseManager::defaultManager().insertSongItem(song);
    if (number < 0)
        return false;
    song.setSongID(number);
    return true;
}
