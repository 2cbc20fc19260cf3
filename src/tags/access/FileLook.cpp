// The looks at atoms and at MPEG frames.
#include "tags/access/TagGuard.h"
#include "tags/audio/MpegAudioInfo.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

namespace {
constexpr int kMaxDepth = 24;
// A day in fragments of four seconds.
constexpr int kMaxAtoms = 150'000;
// The `moov` of some days of audio.
constexpr uint64_t kMaxCutMoov = 64U << 20;

uint32_t word(const uint8_t *bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Goes over the atoms exactly as TagLib does, which follows sizes from one header to the next and looks at a parent's
// end only after each child; but ends at an atom that is larger than what is left of the file, which TagLib follows.
class AtomWalk {
public:
    explicit AtomWalk(TagStream &stream) : stream_(stream), size_(static_cast<uint64_t>(stream.length())) {}

    Mp4Look look() {
        uint64_t end = 0;
        while (isWithinBounds_ && position_ + 8 <= size_) {
            if (!atom({.end = size_, .isOnWay = true})) {
                // Behind `moov` it can be hidden.
                isWithinBounds_ = isWithinBounds_ && hasMoov_;
                break;
            }
            end = position_;
        }
        result_.isReadable = isWithinBounds_;
        // 32-bit offsets could pass 4 GiB when a growing `moov` pushes the audio on. Of two `moov` the marks and TagLib
        // take different ones.
        result_.isWritable = isWithinBounds_ && areNested_ && areOffsetsSound_ &&
                             (!hasShortOffsets_ || size_ < 0xf0000000) && !hasTwoMoov_;
        result_.tail = hasMoov_ ? static_cast<long>(size_ - std::min(end, size_)) : 0;
        return result_;
    }

private:
    struct Parent {
        uint64_t end = 0;
        uint64_t metaEnd = 0; // where `meta` may end, if not at the parent's end
        int depth = 0;        // of its children
        bool isInTrack = false;
        bool isOnWay = false; // to the item list
    };

    // Passes one atom with all it holds; false where there is no whole one.
    bool atom(const Parent &parent) {
        isWithinBounds_ = isWithinBounds_ && ++atoms_ <= kMaxAtoms && parent.depth <= kMaxDepth;
        const uint64_t start = position_;
        uint8_t header[16];
        if (!isWithinBounds_ || stream_.readAt(start, header, 8) != 8)
            return false;
        uint64_t length = word(header), headerSize = 8;
        if (length == 1) {
            if (stream_.readAt(start, header, 16) != 16)
                return false;
            length = uint64_t{word(header + 8)} << 32 | word(header + 12);
            headerSize = 16;
        } else if (length == 0) {
            length = size_ - start;
        }
        const std::string_view name(reinterpret_cast<const char *>(header) + 4, 4);
        const bool isMoov = parent.depth == 0 && name == "moov";
        if (length < 8 || length > size_ - start) {
            if (isMoov && !hasMoov_ && length <= kMaxCutMoov)
                result_.missing = static_cast<long>(length - std::min(length, size_ - start));
            return false;
        }
        const uint64_t end = start + length;
        hasTwoMoov_ |= isMoov && hasMoov_;
        hasMoov_ |= isMoov;
        areNested_ &= end <= parent.end || (name == "meta" && end == parent.metaEnd);
        checkOffsets(name, start, length, parent.isInTrack);
        const bool isOnWay = parent.isOnWay && isFirstOnWay(name, start, length, parent.depth);

        const std::optional<uint64_t> content = contentOf(name, start + headerSize);
        if (!content) {
            position_ = end;
            return true;
        }
        position_ = *content;
        const Parent self{.end = end,
                          // The size of a `udta` in which an older one was nested falls 8 short.
                          .metaEnd = parent.depth == 1 && name == "udta" && end + 8 == parent.end ? parent.end : end,
                          .depth = parent.depth + 1,
                          .isInTrack = parent.isInTrack || (parent.depth == 1 && name == "trak"),
                          .isOnWay = isOnWay};
        while (position_ < end)
            if (!atom(self)) {
                // TagLib would go into an atom that claims more than the file holds, and rewrite what is not there.
                isWithinBounds_ = false;
                break;
            }
        return true;
    }

    // Notes the item list and what stands beside it, and tells whether the atom is the first of its name on the way.
    bool isFirstOnWay(std::string_view name, uint64_t start, uint64_t length, int depth) {
        static constexpr std::string_view way[] = {"moov", "udta", "meta", "ilst"};
        if (depth == 3 && name == "hdlr")
            result_.hasHandler |= result_.listSize == 0;
        if (depth == 3 && name == "free" && result_.listSize > 0 && start == result_.list + result_.room)
            result_.room += length;
        if (depth >= static_cast<int>(std::size(way)) || depth != passed_ || name != way[depth])
            return false;
        if (++passed_ == static_cast<int>(std::size(way))) {
            result_.list = start;
            result_.listSize = result_.room = length;
        }
        return true;
    }

    // Where the children of a container start.
    std::optional<uint64_t> contentOf(std::string_view name, uint64_t position) {
        static constexpr std::string_view containers[] = {"moov", "udta", "mdia", "ilst", "stbl",
                                                          "minf", "moof", "traf", "trak"};
        if (std::find(std::begin(containers), std::end(containers), name) != std::end(containers))
            return position;
        if (name == "stsd")
            return position + 8;
        if (name != "meta")
            return std::nullopt;
        // Version and flags are missing where the first child's name stands in their place.
        char bytes[8] = {};
        stream_.readAt(position, bytes, sizeof bytes);
        static constexpr std::string_view children[] = {"hdlr", "ilst", "mhdr", "ctry", "lang"};
        const bool isPlain =
            std::find(std::begin(children), std::end(children), std::string_view(bytes + 4, 4)) != std::end(children);
        return position + (isPlain ? 0 : 4);
    }

    // TagLib writes as many offsets as the count says, and where a flag says that one is there. It reads the count anew
    // once the tags are in the file, and looks for a table that stood just where they went at its old place.
    void checkOffsets(std::string_view name, uint64_t start, uint64_t length, bool isInTrack) {
        uint8_t bytes[16] = {};
        if (name == "stco" || name == "co64") {
            const uint64_t width = name == "stco" ? 4 : 8;
            hasShortOffsets_ |= width == 4;
            areOffsetsSound_ &= isInTrack && length >= 16 && stream_.readAt(start, bytes, 16) == 16 &&
                                word(bytes + 12) <= (length - 16) / width;
        } else if (name == "tfhd") {
            stream_.readAt(start, bytes, 12);
            areOffsetsSound_ &= length >= 12 && ((bytes[11] & 1) == 0 || length >= 24);
        }
    }

    TagStream &stream_;
    uint64_t size_;
    uint64_t position_ = 0;
    int atoms_ = 0;
    int passed_ = 0; // names on the way to the item list
    bool isWithinBounds_ = true;
    bool areNested_ = true;
    bool areOffsetsSound_ = true;
    bool hasShortOffsets_ = false;
    bool hasMoov_ = false;
    bool hasTwoMoov_ = false;
    Mp4Look result_;
};

// Bytes of the MPEG audio frame that starts at `position`, 0 for none.
uint64_t frameAt(TagStream &stream, uint64_t position, uint64_t end) {
    uint8_t bytes[4];
    const auto header =
        position + 4 <= end && stream.readAt(position, bytes, 4) == 4 ? mpegFrameHeader(bytes) : std::nullopt;
    return header ? static_cast<uint64_t>(header->frameBytes) : 0;
}

uint64_t beforeTrailingTags(TagStream &stream, uint64_t size) {
    uint64_t end = size;
    uint8_t bytes[32];
    if (end >= 128 && stream.readAt(end - 128, bytes, 3) == 3 && std::memcmp(bytes, "TAG", 3) == 0)
        end -= 128;
    if (end >= 32 && stream.readAt(end - 32, bytes, 32) == 32 && std::memcmp(bytes, "APETAGEX", 8) == 0) {
        const uint64_t tag = uint64_t{bytes[12]} | uint64_t{bytes[13]} << 8 | uint64_t{bytes[14]} << 16 |
                             uint64_t{bytes[15]} << 24; // footer included, header not
        end -= std::min(end, tag + ((bytes[23] & 0x80) != 0 ? 32 : 0));
    }
    return end;
}
} // namespace

Mp4Look lookAtMp4(TagStream &stream) { return AtomWalk(stream).look(); }

MpegLook lookAtMpegFrames(TagStream &stream) {
    // A container that may hold the same frames is no place for these tags.
    char first[8] = {};
    stream.readAt(0, first, sizeof first);
    if (std::memcmp(first + 4, "ftyp", 4) == 0 || std::memcmp(first, "RIFF", 4) == 0)
        return {};
    const uint64_t end = beforeTrailingTags(stream, static_cast<uint64_t>(stream.length()));
    const ByteReader read = [&](uint64_t at, void *bytes, size_t size) { return stream.readAt(at, bytes, size); };
    // Padding or rubbish may stand before the first frame.
    const auto start = firstMpegFrame(read, behindLeadingTags(read), end);
    if (!start)
        return {};
    uint64_t position = *start;
    while (position < end) {
        const uint64_t length = frameAt(stream, position, end);
        if (length == 0)
            return {true, MpegLook::End::Rubbish};
        position += length;
    }
    return {true, position == end ? MpegLook::End::WholeFrame : MpegLook::End::TornFrame};
}
