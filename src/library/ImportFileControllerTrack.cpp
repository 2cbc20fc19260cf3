// What an import makes of one file.
#include "library/ImportFileController.h"
#include "platform/files/FileCopy.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/TimeAndSizeText.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"
#include "views/pictures/PictureFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace {

/// Covers wait there for their tracks to enter the library: in its own file system, so that the main thread, which
/// takes them in, has only to rename them.
QString waitingFolder() { return applicationSupportFolder() + "/Import"; }

/// Where the picture at `path` waits; null if it can't go there whole, and then no further into the library either.
QString movedToWaitingFolder(const QString &path) {
    QString waiting = waitingFolder() + '/' + QFileInfo(path).fileName();
    if (QDir().mkpath(waitingFolder()) &&
        moveFile(QFile::encodeName(path).constData(), QFile::encodeName(waiting).constData()))
        return waiting;
    QFile::remove(path);
    return {};
}

void setTags(SongItem &song, const QVariantMap &info) {
    const auto text = [&info](const char *key) { return info.value(key).toString(); };
    if (const QString title = text(TagKey::kTitle); !title.isEmpty())
        song.setTitle(title);
    if (const QString artist = text(TagKey::kArtist); !artist.isEmpty())
        song.setArtist(artist);
    if (const QString album = text(TagKey::kAlbum); !album.isEmpty())
        song.setAlbum(album);
    song.setYear(text(TagKey::kYear));
    song.setGenre(text(TagKey::kGenre));
}

} // namespace

// What an import that did not reach its end has left waiting is nobody's.
ImportCovers::ImportCovers() { QDir(waitingFolder()).removeRecursively(); }

QString ImportCovers::pathOf(const QImage &cover) {
    const QString path = getTempImagePath();
    if (path.isNull())
        return {};
    if (!lastPath_.isNull() && last_ == cover) {
        QString linked = waitingFolder() + '/' + QFileInfo(path).fileName();
        if (::link(QFile::encodeName(lastPath_).constData(), QFile::encodeName(linked).constData()) == 0)
            return linked;
    }
    if (!ImportFileController::writeImageToPath(cover, path))
        return {};
    lastPath_ = movedToWaitingFolder(path);
    last_ = cover;
    return lastPath_;
}

SongPtr ImportFileController::songItemWithContentsOfFile(const QString &path, ImportCovers &covers) {
    const auto info = AudioConverter::getAudioFileInfo(path);
    if (!info)
        return nullptr;
    const QString kind = info->value("FourCCKey").toString();
    logLine("fileType " + kind);
    if (kind != "MP3 audio" && kind != "M4A audio")
        return nullptr;
    auto song = std::make_shared<SongItem>();
    song->setEncodeKind(kind);
    song->setSampleRate(info->value("SampleRateKey").toInt());
    song->setBiteRate(info->value("BitrateKey").toInt());
    // The same that AudioFileHelper::fileDuration() would find by reading the file again.
    song->setLength(static_cast<qint64>(info->value("LengthKey").toDouble() * 1000.0));
    song->setSongPath(path);
    song->setSize(AudioConverter::getFileSize(path));
    song->setAddedDate(QDateTime::currentDateTimeUtc());
    song->setIsAds(/*isAds=*/true);
    song->setIsImported(/*isImported=*/true);
    const auto tags = TagLibHelper::ID3Info(path);
    if (!tags)
        return song;
    setTags(*song, *tags);
    const QVariantList images = tags->value(TagKey::kCover).toList();
    if (images.isEmpty())
        return song;
    if (const QString cover = covers.pathOf(images.first().value<QImage>()); !cover.isNull()) {
        song->setCoverImages({cover});
        song->setCoverImageIndex(0);
        song->setIsHasLocalCover(/*isHasLocalCover=*/true);
    }
    return song;
}

bool ImportFileController::writeImageToPath(const QImage &image, const QString &path) { return writeTiff(image, path); }
