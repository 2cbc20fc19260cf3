#include "library/WriteID3.h"

#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QFile>

namespace {

constexpr qsizetype kLongestCandidate = 251; // folder included, ending not

QString folderOf(const QString &path) { return path.left(qMax<qsizetype>(0, path.lastIndexOf('/'))); }

QString endingOf(const QString &path) {
    const qsizetype dot = path.lastIndexOf('.');
    return dot > path.lastIndexOf('/') ? path.mid(dot + 1) : QString();
}

// The name after title and artist; the old path where the file has it already.
QString newPathOf(const SongItem &song) {
    const QString folder = folderOf(song.songPath());
    const QString ending = endingOf(song.songPath());
    QString stem = folder + '/' + song.title() + '_' + song.artist();
    if (stem.size() >= kLongestCandidate) {
        stem.truncate(kLongestCandidate);
        if (stem.back().isHighSurrogate())
            stem.chop(1); // half a character is none
    }
    QString path = theValidPath(stem + '.' + ending);
    if (path == song.songPath())
        return path;
    // The numbered names are neither cut nor cleaned.
    for (int number = 2; QFile::exists(path); ++number)
        path = folder + '/' + song.title() + '_' + song.artist() + '(' + QString::number(number) + ")." + ending;
    return path;
}

// A slash in a title stands for a folder of that name, to which no file is moved.
void moveTo(SongItem &song, const QString &path) {
    if (folderOf(path) != folderOf(song.songPath()) || path.contains(QChar::Null) ||
        !QFile::rename(song.songPath(), path)) {
        logLine(QStringLiteral("%1 keeps its name").arg(song.songPath()));
        return;
    }
    song.setSongPath(path);
}

} // namespace

QString theValidPath(const QString &path) {
    constexpr QLatin1String forbidden("*|:\"<>?\\/");
    const qsizetype nameStart = path.lastIndexOf('/') + 1;
    QString valid = path;
    for (qsizetype i = nameStart; i < valid.size(); ++i)
        if (forbidden.contains(valid.at(i)))
            valid[i] = '_';
    return valid;
}

WriteID3Result writeID3inFile(SongItem &song, bool isNeedChangeCover, bool isNeedChangeFileName) {
    WriteID3Result result;
    result.outcome = TagLibHelper::writeID3Info(song.songPath(), tagDictionaryOf(song, isNeedChangeCover));
    song.setSize(AudioConverter::getFileSize(song.songPath()));
    if (song.isImported() || !isNeedChangeFileName || !QFile::exists(song.songPath()))
        return result;
    const QString path = newPathOf(song);
    result.isStatusStale = path != song.songPath();
    if (result.isStatusStale)
        moveTo(song, path);
    return result;
}

bool saveWritten(SongItem &song, const QString &path, bool *isCoverLost) {
    if (DataBaseManager::defaultManager().updateSongItem(song, isCoverLost))
        return true;
    if (song.songPath() != path && !QFile::exists(path) && QFile::rename(song.songPath(), path))
        song.setSongPath(path);
    return false;
}
