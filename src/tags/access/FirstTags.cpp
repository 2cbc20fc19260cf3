#include "tags/access/FirstTags.h"

#include "store/DataBaseManager.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QImage>

namespace {
QImage coverOf(const SongItem &song) {
    const QStringList &covers = song.coverImages();
    const int32_t index = song.coverImageIndex();
    QImage cover;
    if (index >= 0 && index < covers.size())
        cover.load(covers[index]);
    if (cover.isNull())
        cover.load(QStringLiteral(":/images/default_coverImage.png"));
    return cover;
}

QString textOr(const QString &text, const char *ifAbsent) { return text.isNull() ? QString(ifAbsent) : text; }
} // namespace

void writeID3(SongItem &song) {
    const QVariantMap info = {
        {"title", textOr(song.title(), "Unknown Title")}, {"artist", textOr(song.artist(), "Unknown Artist")},
        {"album", textOr(song.album(), "Unknown Album")}, {"year", textOr(song.year(), "")},
        {"genre", textOr(song.genre(), "Unknown Genre")}, {"cover", QVariantList{coverOf(song)}},
    };
    // The track enters the library whether or not its file took the tags.
    TagLibHelper::setID3Info(song.songPath(), info);
    song.setSize(AudioConverter::getFileSize(song.songPath()));
    DataBaseManager::defaultManager().updateSongItem(song);
}
