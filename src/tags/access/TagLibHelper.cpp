#include "tags/access/TagLibHelper.h"

#include "platform/files/SafeFileChange.h"
#include "platform/run/Log.h"
#include "tags/access/CoverImages.h"
#include "tags/access/GracenoteHelper.h"
#include "tags/access/M4AItems.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibFile.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <limits>
#include <numeric>
#include <taglib/attachedpictureframe.h>
#include <taglib/mp4coverart.h>

namespace {
// The settings belong to the main thread, and tags are written on any; alone in what it says, hence relaxed.
std::atomic<bool> keepsOtherTags = true;

QString textOf(const TagLib::String &text) { return QString::fromUtf8(text.toCString(/*unicode=*/true)); }

QVariantMap textsOf(const TagLib::Tag &tag) {
    return {{TagKey::kTitle, textOf(tag.title())}, {TagKey::kArtist, textOf(tag.artist())},
            {TagKey::kAlbum, textOf(tag.album())}, {TagKey::kYear, tag.year()},
            {TagKey::kGenre, textOf(tag.genre())}, {TagKey::kComment, textOf(tag.comment())}};
}

// The whole number that a text starts with, as far as 32 bits hold it; other values as they convert.
int intValue(const QVariant &value) {
    if (value.typeId() != QMetaType::QString)
        return value.toInt();
    const long long number = std::strtoll(value.toString().toUtf8().constData(), /*endptr=*/nullptr, 10);
    return static_cast<int>(
        std::clamp<long long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void writeTexts(TagLib::Tag &tag, const QVariantMap &info) {
    const auto text = [&](const char *key) {
        return TagLib::String(info[key].toString().toUtf8().constData(), TagLib::String::UTF8);
    };
    if (info.contains(TagKey::kTitle))
        tag.setTitle(text(TagKey::kTitle));
    if (info.contains(TagKey::kArtist))
        tag.setArtist(text(TagKey::kArtist));
    if (info.contains(TagKey::kAlbum))
        tag.setAlbum(text(TagKey::kAlbum));
    if (const int year = intValue(info[TagKey::kYear]); year > 0)
        tag.setYear(static_cast<unsigned>(year));
    if (info.contains(TagKey::kGenre))
        tag.setGenre(text(TagKey::kGenre));
    if (info.contains(TagKey::kComment))
        tag.setComment(text(TagKey::kComment));
}

// The pictures of a dictionary's list as TagLib takes them.
QList<TagLib::ByteVector> jpegsOf(const QVariant &cover) {
    QList<TagLib::ByteVector> jpegs;
    for (const QVariant &entry : cover.toList()) {
        const QByteArray jpeg = jpegOf(entry.value<QImage>());
        if (!jpeg.isEmpty())
            jpegs.append(TagLib::ByteVector(jpeg.constData(), static_cast<unsigned>(jpeg.size())));
    }
    return jpegs;
}

void writeCovers(TagLib::ID3v2::Tag &tag, const QVariant &cover) {
    tag.removeFrames("APIC");
    for (const TagLib::ByteVector &jpeg : jpegsOf(cover)) {
        auto *frame = new TagLib::ID3v2::AttachedPictureFrame;
        frame->setPicture(jpeg);
        frame->setMimeType("image/jpeg");
        tag.addFrame(frame);
    }
}

// A file without pictures gets none.
void writeCovers(TagLib::MP4::Tag &tag, const QVariant &cover) {
    if (!tag.contains("covr"))
        return;
    TagLib::MP4::CoverArtList list;
    for (const TagLib::ByteVector &jpeg : jpegsOf(cover))
        list.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, jpeg));
    tag.setItem("covr", TagLib::MP4::Item(list));
}

// Answers false, with nothing written, for a file that can't be opened.
bool writeMP3Tags(TagStream &stream, const QVariantMap &info) {
    OpenedMP3 opened(stream);
    if (!opened.file())
        return false;
    writeTexts(*opened.file()->tag(), info);
    TagLib::ID3v2::Tag *tag = opened.file()->ID3v2Tag();
    if (tag && info.contains(TagKey::kCover))
        writeCovers(*tag, info[TagKey::kCover]);
    opened.save();
    return true;
}

// Whether a write of `info` decides about the items of this name.
bool isGiven(const QVariantMap &info, std::string_view itemName) {
    static constexpr std::pair<std::string_view, const char *> keys[] = {
        {"\251nam", TagKey::kTitle},   {"\251ART", TagKey::kArtist}, {"\251alb", TagKey::kAlbum},
        {"\251day", TagKey::kYear},    {"\251gen", TagKey::kGenre},  {"gnre", TagKey::kGenre},
        {"\251cmt", TagKey::kComment}, {"covr", TagKey::kCover}};
    return std::any_of(std::begin(keys), std::end(keys), [&](const auto &entry) {
        return entry.first == itemName && info.contains(entry.second) &&
               (itemName != "\251day" || intValue(info[TagKey::kYear]) > 0);
    });
}

// Adds those of `items` that `info` says nothing about; false if there are no items to choose from.
bool addNotGiven(M4AItems &kept, const std::optional<M4AItems> &items, const QVariantMap &info) {
    if (!items)
        return false;
    std::copy_if(items->begin(), items->end(), std::back_inserter(kept),
                 [&](const std::string &item) { return !isGiven(info, nameOfM4AItem(item)); });
    return true;
}

// Leaves TagLib what is given, and one item that makes room for what is kept.
void keepRoom(TagLib::MP4::Tag &tag, const M4AItems &kept, const QVariantMap &info) {
    const size_t size = std::accumulate(kept.begin(), kept.end(), kM4AListSpare,
                                        [](size_t sum, const std::string &item) { return sum + item.size(); });
    const TagLib::MP4::ItemMap items = tag.itemMap();
    for (const auto &entry : items)
        if (!isGiven(info, entry.first.to8Bit()))
            tag.removeItem(entry.first);
    TagLib::ByteVectorList zeros;
    zeros.append(TagLib::ByteVector(static_cast<unsigned>(size), '\0'));
    tag.setItem("----:com.tessarine:room", TagLib::MP4::Item(zeros));
}

// What the file keeps beside what is given; nothing where that can't be told.
std::optional<M4AItems> keptItems(TagStream &stream, const Mp4Look &look, const GracenoteHelper::M4AMarks &marks,
                                  const QVariantMap &info) {
    M4AItems kept;
    bool isWhole = addNotGiven(kept, readM4AItems(stream, look), info);
    if (keepsOtherTags.load(std::memory_order_relaxed))
        isWhole = isWhole && addNotGiven(kept, splitM4AItems(marks.replaced), info);
    // Marks that found no place of their own go into the list that TagLib has or makes: without them the next write
    // would be the first contact, and take for old what this one writes.
    if (!marks.arePlaced)
        isWhole = isWhole && addNotGiven(kept, splitM4AItems(GracenoteHelper::itemsOfM4AMarks()), info);
    return isWhole ? std::optional(std::move(kept)) : std::nullopt;
}

TagWriteOutcome outcomeOf(const TagStream &stream) {
    return stream.hasFailed() ? tagWriteOutcomeOf(stream.error()) : TagWriteOutcome::Refused;
}

// Marks and tags in one; the copy is whole only when they are written.
TagWriteOutcome writeM4ACopy(int copy, const QVariantMap &info) {
    errno = 0;
    const std::optional<GracenoteHelper::M4AMarks> marks = GracenoteHelper::addM4AMarks(copy);
    if (!marks)
        return tagWriteOutcomeOf(errno);
    TagStream stream(copy);
    std::optional<M4AItems> kept;
    {
        OpenedM4A opened(stream, /*isForWriting=*/true);
        if (!opened.file() || !(kept = keptItems(stream, opened.look(), *marks, info)))
            return outcomeOf(stream);
        writeTexts(*opened.file()->tag(), info);
        if (info.contains(TagKey::kCover))
            writeCovers(*opened.file()->tag(), info[TagKey::kCover]);
        keepRoom(*opened.file()->tag(), *kept, info);
        opened.file()->save(); // the stream tells whether that failed
    }
    const Mp4Look look = lookAtMp4(stream);
    std::optional<M4AItems> items = readM4AItems(stream, look);
    if (stream.hasFailed() || !items)
        return outcomeOf(stream);
    std::erase_if(*items, [&](const std::string &item) { return !isGiven(info, nameOfM4AItem(item)); });
    // Some readers take gapless data that stands behind pictures for a picture's.
    const auto pictures = std::stable_partition(items->begin(), items->end(),
                                                [](const std::string &item) { return nameOfM4AItem(item) != "covr"; });
    items->insert(pictures, kept->begin(), kept->end());
    return writeM4AItems(stream, look, *items) ? TagWriteOutcome::Written : outcomeOf(stream);
}

TagWriteOutcome writeM4A(const QString &path, const std::optional<QVariantMap> &info) {
    if (path.isNull() || !info)
        return TagWriteOutcome::Failed;
    SafeFileChange change(path);
    if (!change.isOpen())
        return tagWriteOutcomeOf(change.error());
    const TagWriteOutcome outcome = writeM4ACopy(change.descriptor(), *info);
    if (outcome != TagWriteOutcome::Written)
        return outcome;
    return change.commit() ? TagWriteOutcome::Written : tagWriteOutcomeOf(change.error());
}

// The marks stay where the tags find no room.
TagWriteOutcome writeMP3(const QString &path, const std::optional<QVariantMap> &info) {
    if (path.isNull() || !info)
        return TagWriteOutcome::Failed;
    std::optional<SafeFileChange> change(path);
    if (!change->isOpen())
        return tagWriteOutcomeOf(change->error());
    TagStream marked(change->descriptor());
    if (!GracenoteHelper::addMP3Marks(marked))
        return outcomeOf(marked);
    TagStream stream(change->descriptor());
    const bool hasTags = writeMP3Tags(stream, *info);
    if (stream.hasFailed()) {
        change.reset();
        GracenoteHelper::setMP3GracenoteInfo(path); // the marks alone may fit, and if not, nothing more can be done
        return outcomeOf(stream);
    }
    if (!change->commit())
        return tagWriteOutcomeOf(change->error());
    return hasTags ? TagWriteOutcome::Written : TagWriteOutcome::Refused;
}
} // namespace

std::optional<QVariantMap> TagLibHelper::ID3Info(const QString &path) {
    switch (AudioFileHelper::AudioFileFormatID(path)) {
    case AudioFileHelper::kFormatMP3:
        return MP3ID3Info(path);
    case AudioFileHelper::kFormatAAC:
        return M4AID3Info(path);
    default:
        return std::nullopt;
    }
}

TagWriteOutcome TagLibHelper::writeID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info) {
    logLine(QStringLiteral("------before setID3Info filePath = %1 | FileSize = %2")
                .arg(path, QString::number(static_cast<int32_t>(AudioConverter::getFileSize(path)))));
    switch (AudioFileHelper::AudioFileFormatID(path)) {
    case AudioFileHelper::kFormatMP3:
        return writeMP3(path, ID3Info);
    case AudioFileHelper::kFormatAAC:
        return writeM4A(path, ID3Info);
    default:
        return TagWriteOutcome::OtherFormat;
    }
}

bool TagLibHelper::setID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info) {
    return writeID3Info(path, ID3Info) == TagWriteOutcome::Written;
}

std::optional<QVariantMap> TagLibHelper::MP3ID3Info(const QString &path) {
    TagStream stream(path);
    OpenedMP3 opened(stream);
    if (!opened.file())
        return std::nullopt;
    QVariantMap info = textsOf(*opened.file()->tag());
    CoverCollector covers;
    if (const TagLib::ID3v2::Tag *tag = opened.file()->ID3v2Tag())
        for (TagLib::ID3v2::Frame *frame : tag->frameList("APIC"))
            if (const auto *picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame *>(frame)) {
                const TagLib::ByteVector bytes = picture->picture();
                covers.add(bytes.data(), bytes.size());
            }
    info[TagKey::kCover] = covers.images();
    return info;
}

std::optional<QVariantMap> TagLibHelper::M4AID3Info(const QString &path) {
    TagStream stream(path);
    OpenedM4A opened(stream, /*isForWriting=*/false);
    if (!opened.file())
        return std::nullopt;
    const TagLib::MP4::Tag &tag = *opened.file()->tag();
    QVariantMap info = textsOf(tag);
    CoverCollector covers;
    if (tag.contains("covr"))
        for (const TagLib::MP4::CoverArt &cover : tag.item("covr").toCoverArtList()) {
            const TagLib::ByteVector bytes = cover.data();
            covers.add(bytes.data(), bytes.size());
        }
    info[TagKey::kCover] = covers.images();
    return info;
}

bool TagLibHelper::setMP3ID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info) {
    return writeMP3(path, ID3Info) == TagWriteOutcome::Written;
}

bool TagLibHelper::setM4AID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info) {
    return writeM4A(path, ID3Info) == TagWriteOutcome::Written;
}

void TagLibHelper::setKeepsOtherTags(bool isKeeping) { keepsOtherTags.store(isKeeping, std::memory_order_relaxed); }

bool TagLibHelper::setMP3GracenoteInfo(const QString &path) { return GracenoteHelper::setMP3GracenoteInfo(path); }

bool TagLibHelper::setM4AGracenoteInfo(const QString &path) { return GracenoteHelper::setM4AGracenoteInfo(path); }
