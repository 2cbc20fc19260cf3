#include "tags/access/GracenoteHelper.h"

#include "platform/files/SafeFileChange.h"
#include "tags/access/TagLibFile.h"
#include "tags/mp4/mp4ff.h"

#include <QFile>
#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <taglib/textidentificationframe.h>
#include <taglib/uniquefileidentifierframe.h>
#include <unistd.h>

namespace {
constexpr const char *kOwner = "http://www.cddb.com/id3/taginfo1.html";
constexpr const char *kIdentifier = "27F4F0E7D40DCC877E46B6CF935B5ED4";
constexpr const char *kExtendedData =
    "GNXDjCxoUwQr4KwtWHsCxht292TYtQTUA+/tP/p6F4VGA/6zdXPy32tGSVwboZw43opE4sAvJI5jhdLUn4PshsIfn+5N9Ll3zULVfMaILuwwWxGEoZ"
    "dcGAMeGI3evgVV0JMGZYVuM97Yv621nwAu4Waf";
constexpr const char *kExtendedDataName = "GN_ExtData";

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); } // whoever writes flushes and looks before
};
using CFile = std::unique_ptr<std::FILE, FileCloser>;

uint32_t mp4ff_read(void *user_data, void *buffer, uint32_t length) {
    return static_cast<uint32_t>(std::fread(buffer, 1, length, static_cast<std::FILE *>(user_data)));
}

uint32_t mp4ff_write(void *user_data, const void *buffer, uint32_t length) {
    return static_cast<uint32_t>(std::fwrite(buffer, 1, length, static_cast<std::FILE *>(user_data)));
}

uint32_t mp4ff_seek(void *user_data, uint64_t position) {
    const auto cut = static_cast<off_t>(std::min<uint64_t>(position, std::numeric_limits<off_t>::max()));
    return fseeko(static_cast<std::FILE *>(user_data), cut, SEEK_SET) == 0 ? 0 : 1;
}

// What stood behind a `moov` that has become shorter stays in the file.
uint32_t mp4ff_truncate(void *) { return 0; }

mp4ff_access_record accessTo(const CFile &file) {
    return {mp4ff_read, mp4ff_write, mp4ff_seek, mp4ff_truncate, file.get()};
}

const mp4ff_tag_list &m4aMarks() {
    static const mp4ff_tag_list marks = {{"gnid", kIdentifier}, {"gnxd", kExtendedData}};
    return marks;
}

bool hasMarks(const mp4ff_file_record &record) {
    bool isMarked = false;
    std::optional<std::string> name, value;
    for (int32_t i = 0; i < mp4ff_meta_get_num_items(record); ++i)
        if (mp4ff_meta_get_by_index(record, static_cast<uint32_t>(i), name, value))
            isMarked |= name == "gnid" || name == "gnxd";
    return isMarked;
}

bool hasIdentifier(const TagLib::ID3v2::Tag &tag) {
    const TagLib::ID3v2::FrameList &frames = tag.frameList("UFID");
    return std::any_of(frames.begin(), frames.end(), [](TagLib::ID3v2::Frame *frame) {
        const auto *mark = dynamic_cast<TagLib::ID3v2::UniqueFileIdentifierFrame *>(frame);
        return mark && mark->owner() == TagLib::String(kOwner);
    });
}

bool isRegular(const QString &path) {
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && S_ISREG(info.st_mode);
}
} // namespace

bool GracenoteHelper::addMP3Marks(TagStream &stream) {
    OpenedMP3 opened(stream);
    // Frames tell that this is an MP3: a tag in front of another kind of file would spoil it.
    if (!opened.file() || !opened.look().hasFrames || opened.losesOnSave())
        return false;
    TagLib::ID3v2::Tag *tag = opened.file()->ID3v2Tag(/*create=*/true);
    if (!tag)
        return false;
    if (!hasIdentifier(*tag))
        tag->addFrame(new TagLib::ID3v2::UniqueFileIdentifierFrame(TagLib::String(kOwner), kIdentifier));
    if (!TagLib::ID3v2::UserTextIdentificationFrame::find(tag, kExtendedDataName)) {
        auto *mark = new TagLib::ID3v2::UserTextIdentificationFrame(TagLib::String::Latin1);
        mark->setDescription(kExtendedDataName);
        mark->setText(TagLib::String(kExtendedData, TagLib::String::UTF8));
        tag->addFrame(mark);
    }
    opened.save();
    return !stream.hasFailed();
}

bool GracenoteHelper::setMP3GracenoteInfo(const QString &path) {
    if (path.isNull())
        return false;
    SafeFileChange change(path);
    if (!change.isOpen())
        return false;
    TagStream stream(change.descriptor());
    return addMP3Marks(stream) && change.commit();
}

bool GracenoteHelper::hasGracenoteInfo(const QString &path) {
    if (!isRegular(path))
        return false;
    const CFile file(std::fopen(QFile::encodeName(path).constData(), "rbe"));
    if (!file)
        return false;
    mp4ff_access_record access = accessTo(file);
    return hasMarks(*mp4ff_open_read_metaonly(&access));
}

std::optional<GracenoteHelper::M4AMarks> GracenoteHelper::addM4AMarks(int descriptor) {
    const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    const CFile file(own < 0 ? nullptr : ::fdopen(own, "rb+"));
    if (!file) {
        if (own >= 0)
            ::close(own);
        return std::nullopt;
    }
    mp4ff_access_record access = accessTo(file);
    const mp4ff_file record = mp4ff_open_read_metaonly(&access);
    if (hasMarks(*record))
        return M4AMarks{true, {}};
    std::string replaced = mp4ff_read_items(*record);
    // Where the items find no place the file is left as it is, and that is no failure.
    const bool arePlaced = mp4ff_meta_update(&access, m4aMarks()) == 1;
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()))
        return std::nullopt;
    return M4AMarks{arePlaced, arePlaced ? std::move(replaced) : std::string()};
}

std::string GracenoteHelper::itemsOfM4AMarks() {
    membuffer_bytes bytes;
    uint32_t size = 0;
    return create_ilst(m4aMarks(), bytes, size) == 1 ? std::string(reinterpret_cast<const char *>(bytes.get()), size)
                                                     : std::string();
}

bool GracenoteHelper::setM4AGracenoteInfo(const QString &path) {
    if (path.isNull())
        return false;
    SafeFileChange change(path);
    if (!change.isOpen())
        return false;
    // A file that has its marks, or no place for them, is not made anew.
    if (hasGracenoteInfo(path))
        return true;
    const std::optional<M4AMarks> marks = addM4AMarks(change.descriptor());
    return marks && (!marks->arePlaced || change.commit());
}
