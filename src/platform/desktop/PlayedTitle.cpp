#include "platform/desktop/PlayedTitle.h"

#include "platform/run/InvisibleOrder.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

namespace {

constexpr int kMostEntries = 200;
constexpr int kMostArtists = 10;
constexpr int kDeepestVariant = 4;
constexpr qsizetype kLongestText = 300;
constexpr qsizetype kLongestAddress = 2000;
constexpr int64_t kLongestMilliseconds = 24LL * 3600 * 1000; // a live stream may name the largest number there is

QVariant unwrapped(QVariant value) {
    for (int depth = 0; depth < kDeepestVariant && value.metaType() == QMetaType::fromType<QDBusVariant>(); ++depth)
        value = value.value<QDBusVariant>().variant();
    return value;
}

QString cleanText(const QString &text) {
    if (text.size() > kLongestText)
        return {};
    QString clean;
    for (const QChar character : text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8())) {
        if (character.category() == QChar::Other_Control)
            clean += ' ';
        else if (!isInvisibleOrder(character))
            clean += character;
    }
    clean = clean.simplified();
    return clean.isEmpty() ? QString() : clean;
}

QString textOf(const QVariant &value) {
    const QVariant plain = unwrapped(value);
    if (plain.typeId() == QMetaType::QStringList)
        return cleanText(plain.toStringList().mid(0, kMostArtists).join(QStringLiteral(", ")));
    return plain.typeId() == QMetaType::QString ? cleanText(plain.toString()) : QString();
}

/// MPRIS counts microseconds; what players give as a text or with a fraction is understood, too.
int64_t lengthOf(const QVariant &value) {
    const QVariant plain = unwrapped(value);
    bool isNumber = false;
    const double microseconds = plain.canConvert<double>() ? plain.toDouble(&isNumber) : 0;
    const double milliseconds = microseconds / 1000;
    return isNumber && milliseconds > 0 && milliseconds < kLongestMilliseconds ? static_cast<int64_t>(milliseconds) : 0;
}

QUrl coverOf(const QVariant &value) {
    const QVariant plain = unwrapped(value);
    if (plain.typeId() != QMetaType::QString || plain.toString().size() > kLongestAddress)
        return {};
    const QUrl address(plain.toString(), QUrl::StrictMode);
    const bool isOfWeb = (address.scheme() == "http" || address.scheme() == "https") && !address.host().isEmpty();
    const bool isOfMachine = address.isLocalFile() && address.host().isEmpty();
    return isOfWeb || isOfMachine ? address : QUrl();
}

QString trackIDOf(const QVariant &value) {
    const QVariant plain = unwrapped(value);
    if (plain.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return plain.value<QDBusObjectPath>().path();
    return plain.typeId() == QMetaType::QString ? plain.toString() : QString();
}

} // namespace

QVariantMap dictionaryOf(const QVariant &value) {
    const QVariant plain = unwrapped(value);
    if (plain.metaType() != QMetaType::fromType<QDBusArgument>())
        return plain.typeId() == QMetaType::QVariantMap ? plain.toMap() : QVariantMap();
    const auto argument = plain.value<QDBusArgument>();
    if (argument.currentSignature() != "a{sv}")
        return {};
    QVariantMap entries;
    argument.beginMap();
    for (int count = 0; count < kMostEntries && !argument.atEnd(); ++count) {
        QString key;
        QDBusVariant entry;
        argument.beginMapEntry();
        argument >> key >> entry;
        argument.endMapEntry();
        entries.insert(key, entry.variant());
    }
    argument.endMap();
    return entries;
}

PlayedTitle playedTitleOf(const QVariant &metadata) {
    const QVariantMap entries = dictionaryOf(metadata);
    const QString trackID = trackIDOf(entries.value("mpris:trackid"));
    if (trackID.endsWith("/TrackList/NoTrack"))
        return {};
    PlayedTitle played;
    played.title = textOf(entries.value("xesam:title"));
    played.artist = textOf(entries.value("xesam:artist"));
    if (played.artist.isNull())
        played.artist = textOf(entries.value("xesam:albumArtist"));
    played.album = textOf(entries.value("xesam:album"));
    played.milliseconds = lengthOf(entries.value("mpris:length"));
    played.cover = coverOf(entries.value("mpris:artUrl"));
    played.isAdvert = trackID.contains("/ad/") || trackID.contains(":ad:");
    return played;
}
