#include "identify/local/HeardName.h"

#include <QRegularExpression>

namespace {

using Option = QRegularExpression::PatternOption;

/// What stands where a name should, as the whole text.
bool isNoName(const QString &text) {
    static const QRegularExpression kNoName(
        QStringLiteral("^(<?unknown( artist| title| album)?>?|various artists|untitled|no (title|name)|n/?a|"
                       "((commercial|ad|advert|advertisement|advertising|sponsored)( break)?s?)|werbung|werbeblock|"
                       "publicit\u00e9|publicidad|pubblicit\u00e0|reclame|spotify|youtube|station id|jingle|news|"
                       "nachrichten|wetter|verkehr)$"),
        Option::CaseInsensitiveOption | Option::UseUnicodePropertiesOption);
    return kNoName.match(text).hasMatch();
}

/// Addresses, names of files, and texts without a letter or a digit name no song.
bool isAddressOrFile(const QString &text) {
    static const QRegularExpression kAddress(
        QStringLiteral(R"(://|\bwww\.|\.(com|net|org|fm|de|fr|co\.uk)\b|\.(mp3|m4a|aac|ogg|opus|flac|wav|pls|m3u8?)$)"),
        Option::CaseInsensitiveOption);
    static const QRegularExpression kSign(QStringLiteral(R"([\p{L}\p{N}])"), Option::UseUnicodePropertiesOption);
    return kAddress.match(text).hasMatch() || !kSign.match(text).hasMatch();
}

bool isStation(const QString &artist) {
    static const QRegularExpression kStation(QStringLiteral(R"(\b(web)?(radio|fm)\b|\b\d{2,3}[.,]\d\b)"),
                                             Option::CaseInsensitiveOption);
    return kStation.match(artist).hasMatch();
}

/// What stands behind the dash in the title of one of a song's versions.
bool isVersion(const QString &text) {
    static const QRegularExpression kVersion(
        QStringLiteral(R"(\b(remaster(ed)?|remix|mix|live|edit|version|acoustic|demo|mono|stereo|instrumental|single|)"
                       R"(feat|ft)\b)"),
        Option::CaseInsensitiveOption);
    return kVersion.match(text).hasMatch();
}

bool isName(const QString &text) { return !text.isEmpty() && !isNoName(text) && !isAddressOrFile(text); }

bool isSame(const QString &left, const QString &right) { return left.compare(right, Qt::CaseInsensitive) == 0; }

} // namespace

std::optional<std::pair<QString, QString>> halvesOf(const QString &title) {
    static const QRegularExpression kDash(QStringLiteral(" [-\u2013\u2014] "), Option::UseUnicodePropertiesOption);
    const qsizetype place = title.indexOf(kDash);
    if (place <= 0 || place + 3 >= title.size())
        return std::nullopt;
    return std::pair(title.left(place), title.mid(place + 3));
}

std::optional<Recognition> heardName(const PlayedTitle &played, bool isArtistOfStation) {
    if (played.isAdvert || !isName(played.title))
        return std::nullopt;
    Recognition name;
    name.title = played.title;
    name.artist = played.artist;
    name.cover = played.cover;
    if (isName(played.album) && !isStation(played.album))
        name.album = played.album;
    // Whoever knows a length plays songs, the titles of which may have dashes, too.
    const bool isRadio = played.milliseconds == 0 &&
                         (isArtistOfStation || isSame(played.artist, played.album) || isStation(played.artist));
    const auto halves = halvesOf(played.title);
    if (isRadio || !isName(played.artist)) {
        if (!halves)
            return std::nullopt;
        if (isSame(name.album, played.artist))
            name.album = QString();
        std::tie(name.artist, name.title) = *halves;
    } else if (halves && isSame(halves->first, played.artist)) {
        name.title = halves->second;
    } else if (halves && played.milliseconds == 0 && !isVersion(halves->second)) {
        return std::nullopt; // the artist may still turn out to be the station's name
    }
    if (!isName(name.artist) || !isName(name.title) || isSame(name.artist, name.title))
        return std::nullopt;
    return name;
}
