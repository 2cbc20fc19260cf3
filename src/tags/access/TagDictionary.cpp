#include "tags/access/TagDictionary.h"

#include <QFileInfo>

namespace {
QString textOr(const QString &text, const char *ifAbsent) { return text.isNull() ? QString(ifAbsent) : text; }
} // namespace

QImage chosenCoverOf(const SongItem &song) {
    const QStringList &covers = song.coverImages();
    const int32_t index = song.coverImageIndex();
    QImage cover;
    if (index >= 0 && index < covers.size() && QFileInfo(covers[index]).isFile())
        cover.load(covers[index]);
    if (cover.isNull())
        cover.load(QStringLiteral(":/images/default_coverImage.png"));
    return cover;
}

QVariantMap tagDictionaryOf(const SongItem &song, bool isWithCover) {
    QVariantMap tags = {
        {TagKey::kTitle, textOr(song.title(), "Unknown Title")},
        {TagKey::kArtist, textOr(song.artist(), "Unknown Artist")},
        {TagKey::kAlbum, textOr(song.album(), "Unknown Album")},
        {TagKey::kYear, textOr(song.year(), "")},
        {TagKey::kGenre, textOr(song.genre(), "Unknown Genre")},
    };
    if (isWithCover)
        tags[TagKey::kCover] = QVariantList{chosenCoverOf(song)};
    return tags;
}
