#include "tags/access/TagLosses.h"

#include <algorithm>
#include <string_view>
#include <taglib/id3v2frame.h>
#include <taglib/id3v2header.h>
#include <taglib/id3v2synchdata.h>

namespace {
using namespace std::string_view_literals;
using TagLib::ByteVector;
namespace SynchData = TagLib::ID3v2::SynchData;

constexpr uint64_t kHeaderSize = 10;
// Rubbish before a tag that TagLib passes over.
constexpr uint64_t kSearchBytes = 1U << 20;

std::string_view viewOf(const ByteVector &bytes) { return {bytes.data(), bytes.size()}; }
bool isZero(std::string_view bytes) { return bytes.find_first_not_of('\0') == bytes.npos; }

// The bytes from `position`, none where a header's size is larger than any tag.
ByteVector bytesAt(TagStream &stream, uint64_t position, unsigned size) {
    stream.seek(static_cast<long>(position), TagLib::IOStream::Beginning);
    return stream.readBlock(size);
}

// One tag, its frames as they stand in it.
class RawTag {
public:
    RawTag(TagStream &stream, uint64_t position) : header_(bytesAt(stream, position, kHeaderSize)) {
        if (header_.majorVersion() == 0)
            return;
        const ByteVector body = bytesAt(stream, position + kHeaderSize, header_.tagSize());
        body_ = isDecodedWhole() ? SynchData::decode(body) : body;
        frameHeader_ = header_.majorVersion() < 3 ? 6 : 10;
        if (header_.extendedHeader() && body_.size() >= 4)
            start_ = header_.majorVersion() == 4 ? SynchData::toUInt(body_.mid(0, 4)) : body_.toUInt(0U) + 4;
    }

    uint64_t wholeSize() const { return header_.completeTagSize(); }
    bool hasFrames() const { return hasFrameBehind(start_); }

    // Whether `frames`, which TagLib has read one behind the other, are all there are, and nothing in them was lost.
    bool isAllIn(const TagLib::ID3v2::FrameList &frames) const {
        size_t position = start_;
        for (const TagLib::ID3v2::Frame *frame : frames) {
            if (!isIdAt(position) || losesFlags(position) || losesText(position, frame->size()))
                return false;
            position += frameHeader_ + frame->size();
        }
        // A frame without content, at which some versions of TagLib stop, is no loss itself.
        while (isIdAt(position) && isZero(rest(position + idSize()).substr(0, idSize())))
            position += frameHeader_;
        return !hasFrameBehind(position);
    }

private:
    // Up to this version the tag is unsynchronised as a whole, later each frame for itself.
    bool isDecodedWhole() const { return header_.unsynchronisation() && header_.majorVersion() <= 3; }
    size_t idSize() const { return frameHeader_ == 6 ? 3 : 4; }

    std::string_view rest(size_t position) const {
        return viewOf(body_).substr(std::min<size_t>(position, body_.size()));
    }

    bool isIdAt(size_t position) const {
        const std::string_view id = rest(position).substr(0, idSize());
        return rest(position).size() > frameHeader_ && std::all_of(id.begin(), id.end(), [&id](const char &c) {
                   // Old frames stand in newer tags with a zero for the fourth letter.
                   return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || (c == '\0' && &c == &id[3]);
               });
    }

    // Padding is zeros, and what follows them is rubbish unless it looks like a frame.
    bool hasFrameBehind(size_t position) const {
        const std::string_view left = rest(position);
        if (left.size() <= frameHeader_ || isZero(left))
            return false;
        if (left[0] != '\0')
            return true;
        for (size_t at = left.find_first_not_of('\0'); at < left.size(); ++at)
            if (left[at] >= 'A' && left[at] <= 'Z' && isIdAt(position + at) && left[at + 3] != '\0') {
                const unsigned size = ByteVector(left.data() + at + 4, 4).toUInt();
                if (idSize() == 4 && size > 0 && size <= left.size() - at - frameHeader_)
                    return true;
            }
        return false;
    }

    // TagLib writes no flags, and takes the byte that names a group for content.
    bool losesFlags(size_t position) const {
        constexpr char kEncryptedOrGroupedV3 = 0x60, kEncryptedOrGroupedV4 = 0x44;
        return frameHeader_ == 10 &&
               (rest(position)[9] & (header_.majorVersion() == 4 ? kEncryptedOrGroupedV4 : kEncryptedOrGroupedV3)) != 0;
    }

    // Whether TagLib takes a text that is not empty for an empty one.
    bool losesText(size_t position, size_t size) const {
        const std::string_view id = rest(position).substr(0, 3);
        std::string_view content = rest(position + frameHeader_).substr(0, size);
        ByteVector decoded;
        const char flags = frameHeader_ == 10 ? rest(position)[9] : '\0';
        if (header_.majorVersion() == 4) {
            if ((flags & 0x0c) != 0)
                return false; // compressed or encrypted
            if ((flags & 0x02) != 0 || header_.unsynchronisation()) {
                decoded = SynchData::decode(ByteVector(content.data(), static_cast<unsigned>(content.size())));
                content = viewOf(decoded);
            }
            if ((flags & 0x01) != 0)
                content.remove_prefix(std::min<size_t>(4, content.size()));
        } else if ((flags & 0xc0) != 0) {
            return false;
        }
        if (content.empty() || content[0] != '\1') // UTF-16 with a mark
            return false;
        if (id[0] == 'T')
            return lacksMark(content.substr(1));
        // A language and a description stand before these.
        if (id != "COM" && id != "USL" && id != "ULT")
            return false;
        content.remove_prefix(std::min<size_t>(4, content.size()));
        size_t end = 0;
        while (end + 2 <= content.size() && content.substr(end, 2) != "\0\0"sv)
            end += 2;
        return lacksMark(content.substr(0, end)) || lacksMark(content.substr(std::min(end + 2, content.size())));
    }

    static bool lacksMark(std::string_view text) {
        return text.size() >= 2 && !isZero(text) && text.substr(0, 2) != "\xff\xfe"sv &&
               text.substr(0, 2) != "\xfe\xff"sv;
    }

    TagLib::ID3v2::Header header_;
    ByteVector body_;
    size_t frameHeader_ = 10;
    size_t start_ = 0;
};

bool isTagAt(TagStream &stream, uint64_t position) {
    char id[3] = {};
    return stream.readAt(position, id, sizeof id) == sizeof id && std::string_view(id, sizeof id) == "ID3";
}

// Whether what begins with "ID3" is the header of a tag and not a word in a text.
bool isHeaderAt(TagStream &stream, uint64_t position) {
    uint8_t h[10] = {};
    return stream.readAt(position, h, sizeof h) == sizeof h && h[3] >= 2 && h[3] <= 4 && h[4] != 0xff &&
           std::all_of(h + 6, h + 10, [](uint8_t byte) { return byte < 0x80; });
}
} // namespace

bool losesOnSave(TagStream &stream, const TagLib::ID3v2::Tag *tag) {
    uint64_t position = 0;
    if (!tag)
        return isTagAt(stream, 0); // one that TagLib does not understand
    while (position < kSearchBytes && !isTagAt(stream, position))
        ++position;
    if (position > 0 && !isHeaderAt(stream, position))
        return true; // TagLib takes the first such word for the tag, and would write over what follows it
    const RawTag first(stream, position);
    if (!first.isAllIn(tag->frameList()))
        return true;
    for (position += first.wholeSize(); isTagAt(stream, position);) {
        const RawTag further(stream, position);
        if (further.hasFrames())
            return true;
        position += further.wholeSize();
    }
    return stream.hasRefused();
}
