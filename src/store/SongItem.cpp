#include "store/SongItem.h"

#include "store/TimeAndSizeText.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char *kDefaultCover = ":/images/default_coverImage.png";

QVariant variantOf(const QString &text) { return text.isNull() ? QVariant() : QVariant(text); }
QVariant variantOf(const QDateTime &date) { return date.isValid() ? QVariant(date) : QVariant(); }
template <typename T>
QVariant variantOf(const T &value) {
    return QVariant::fromValue(value);
}

template <auto getter>
QVariant valueOf(const SongItem &song) {
    return variantOf((song.*getter)());
}

struct ValueEntry {
    std::string_view key;
    SongItem::ValueGetter value;
};

constexpr ValueEntry kValues[] = {
    {"addedDate", valueOf<&SongItem::addedDate>},
    {"album", valueOf<&SongItem::album>},
    {"artist", valueOf<&SongItem::artist>},
    {"biteRate", valueOf<&SongItem::biteRate>},
    {"coverImageIndex", valueOf<&SongItem::coverImageIndex>},
    {"coverImages", valueOf<&SongItem::coverImages>},
    {"dateString", valueOf<&SongItem::dateString>},
    {"deleteForDuplicate", valueOf<&SongItem::deleteForDuplicate>},
    {"encodeKind", valueOf<&SongItem::encodeKind>},
    {"genre", valueOf<&SongItem::genre>},
    {"getID3Status", valueOf<&SongItem::getID3Status>},
    {"imagePath", valueOf<&SongItem::imagePath>},
    {"imageRepresentation", valueOf<&SongItem::imageRepresentation>},
    {"imageSubtitle", valueOf<&SongItem::imageSubtitle>},
    {"imageTitle", valueOf<&SongItem::imageTitle>},
    {"imageUID", valueOf<&SongItem::imageUID>},
    {"imageVersion", valueOf<&SongItem::imageVersion>},
    {"isAds", valueOf<&SongItem::isAds>},
    {"isAudio", valueOf<&SongItem::isAudio>},
    {"isHasLocalCover", valueOf<&SongItem::isHasLocalCover>},
    {"isImported", valueOf<&SongItem::isImported>},
    {"isNewRecording", valueOf<&SongItem::isNewRecording>},
    {"isPurchased", valueOf<&SongItem::isPurchased>},
    {"kind", valueOf<&SongItem::kind>},
    {"length", valueOf<&SongItem::length>},
    {"lengthString", valueOf<&SongItem::lengthString>},
    {"modifiedDate", valueOf<&SongItem::modifiedDate>},
    {"playLength", valueOf<&SongItem::playLength>},
    {"sampleRate", valueOf<&SongItem::sampleRate>},
    {"size", valueOf<&SongItem::size>},
    {"sizeString", valueOf<&SongItem::sizeString>},
    {"songID", valueOf<&SongItem::songID>},
    {"songPath", valueOf<&SongItem::songPath>},
    {"songSize", valueOf<&SongItem::songSize>},
    {"status", valueOf<&SongItem::status>},
    {"title", valueOf<&SongItem::title>},
    {"trackID", valueOf<&SongItem::trackID>},
    {"trackNO", valueOf<&SongItem::trackNO>},
    {"trackPerID", valueOf<&SongItem::trackPerID>},
    {"version", valueOf<&SongItem::version>},
    {"year", valueOf<&SongItem::year>},
};
static_assert(std::ranges::is_sorted(kValues, {}, &ValueEntry::key));

} // namespace

SongItem::ValueGetter SongItem::valueGetterForKey(const QString &key) {
    const QByteArray name = key.toLatin1();
    const std::string_view wanted(name.constData(), static_cast<size_t>(name.size()));
    const auto *entry = std::ranges::lower_bound(kValues, wanted, {}, &ValueEntry::key);
    return entry != std::end(kValues) && entry->key == wanted ? entry->value : nullptr;
}

QVariant SongItem::valueForKey(const QString &key) const {
    const ValueGetter getter = valueGetterForKey(key);
    return getter ? getter(*this) : QVariant();
}

QString SongItem::dateString() const {
    return addedDate_.isValid() ? addedDate_.toLocalTime().toString(QStringLiteral("yyyy/MM/dd")) : QString();
}

QString SongItem::songSize() const { return ConvertSizeToString(size_); }

QString SongItem::playLength() const { return ConvertTimeToHMS(length_); }

QString SongItem::lengthString() const {
    const auto seconds = static_cast<double>(length_);
    if (seconds / 3600.0 >= 1)
        return fixedText(seconds / 3600.0, 1) + " hours";
    if (seconds / 60 >= 1)
        return fixedText(seconds / 60, 1) + " minutes";
    return length_ > 1 ? QString::number(length_) + " seconds" : QStringLiteral("1 second");
}

QString SongItem::sizeString() const {
    if (size_ <= 0)
        return QStringLiteral("0 MB");
    return sizeText(size_, [](const char *unit) { return QString::fromLatin1(unit); });
}

QString SongItem::imagePath() const {
    if (coverImageIndex_ >= 0 && coverImageIndex_ < marrCoverImages_.size())
        return marrCoverImages_.at(coverImageIndex_);
    return QString::fromLatin1(kDefaultCover);
}

bool SongItem::isAudio() const { return strKind_.isNull() || strKind_.contains(QLatin1String("audio file")); }

QString SongItem::imageUID() const { return QStringLiteral("%1_%2").arg(imagePath(), QString::number(version_)); }
