// The guard of ID3v2 frames.
#include "tags/access/TagGuard.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <taglib/id3v2header.h>
#include <taglib/id3v2synchdata.h>
#include <vector>
#include <zlib.h>

namespace {
constexpr unsigned kMaxFrames = 20'000;

// What all compressed frames of a tag together may take and hold.
constexpr size_t kMaxInflated = 32U << 20;

using TagLib::ByteVector;

std::string_view viewOf(const ByteVector &bytes) { return {bytes.data(), bytes.size()}; }

// Takes from `budget` what the zlib stream at the start of `bytes` holds and what it is read from, for empty blocks
// hold nothing; false when that is more.
bool inflatesWithin(std::string_view bytes, size_t &budget) {
    static thread_local std::vector<Bytef> out(1U << 16);
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return false;
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data())); // zlib reads only
    stream.avail_in = static_cast<uInt>(std::min(bytes.size(), budget));
    int result = Z_OK;
    while (result == Z_OK && stream.total_in + stream.total_out <= budget) {
        stream.next_out = out.data();
        stream.avail_out = static_cast<uInt>(out.size());
        result = inflate(&stream, Z_NO_FLUSH);
    }
    const size_t spent = stream.total_in + stream.total_out;
    inflateEnd(&stream);
    const bool isWithin = spent <= budget;
    budget -= std::min(spent, budget);
    return isWithin;
}

bool isZlibStart(std::string_view bytes) {
    const auto method = static_cast<uint8_t>(bytes[0]), flags = static_cast<uint8_t>(bytes[1]);
    return (method & 0x0f) == 8 && (method >> 4) <= 7 && (method * 256 + flags) % 31 == 0;
}

// Whether a frame of this version that calls itself compressed can start here.
bool isCompressedFrame(std::string_view bytes, unsigned version) {
    const auto isIdLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); };
    return std::all_of(bytes.begin(), bytes.begin() + 4, isIdLetter) && (bytes[9] & (version == 4 ? 0x08 : 0x80)) != 0;
}

// Every place where a compressed frame could start is tried, so that no trick with the frames' layout hides one.
// Between its header and its content stand its length and other small things.
bool allInflateWithin(std::string_view bytes, unsigned version) {
    constexpr size_t kHeader = 10, kLongestExtra = 6;
    size_t budget = kMaxInflated;
    unsigned streams = 0;
    for (size_t at = 0; at + kHeader + kLongestExtra + 2 <= bytes.size(); ++at) {
        if (!isCompressedFrame(bytes.substr(at, kHeader), version))
            continue;
        for (size_t start = at + kHeader; start <= at + kHeader + kLongestExtra; ++start)
            if (isZlibStart(bytes.substr(start)) &&
                (++streams > kMaxFrames || !inflatesWithin(bytes.substr(start), budget)))
                return false;
    }
    return true;
}

// The places that TagLib could take for the start of a chapter frame.
unsigned chapterStarts(std::string_view bytes) {
    unsigned count = 0;
    for (const std::string_view id : {"CHAP", "CTOC"}) {
        for (size_t at = bytes.find(id); at != std::string_view::npos; at = bytes.find(id, at + 1)) {
            if (bytes.size() - at < 10)
                continue;
            const ByteVector word(bytes.data() + at + 4, 4);
            const size_t left = bytes.size() - at - 10;
            const size_t least = std::min<size_t>(word.toUInt(), TagLib::ID3v2::SynchData::toUInt(word));
            count += least > 0 && least <= left ? 1 : 0;
        }
    }
    return count;
}
} // namespace

bool FrameGuard::updateFrame(FrameHeaderAccess::Header *header) const {
    const ByteVector id = header->frameID();
    const bool isChapter = id == "CHAP" || id == "CTOC";
    const bool isCompressed = header->compression();
    chapters_ += isChapter ? 1 : 0;
    compressed_ += isCompressed ? 1 : 0;
    hasRefused_ |= ++frames_ > kMaxFrames || (isChapter && isCompressed);
    if (hasRefused_ || (isCompressed && !isTrusting_)) {
        // A frame without flags that reaches past every tag: TagLib keeps it as unknown and ends its reading.
        header->setData(id + ByteVector("\0\0\0\1\0\0", 6), 4U);
        header->setFrameSize(0x0ffffff0);
        return false;
    }
    // As an unknown frame, a chapter keeps its bytes unread.
    if (isChapter && !isTrusting_)
        return false;
    // TagLib would leave out, in any save, what asks to go when a program that does not know it changes the tag.
    header->setTagAlterPreservation(false);
    return FrameFactory::updateFrame(header);
}

bool FrameGuard::trustsTag(TagStream &stream) const {
    char start[10];
    if (hasRefused_ || stream.readAt(0, start, sizeof start) != sizeof start || std::string_view(start, 3) != "ID3")
        return false;
    stream.seek(0, TagLib::IOStream::Beginning);
    ByteVector tag = stream.readBlock(TagLib::ID3v2::Header(ByteVector(start, sizeof start)).completeTagSize());
    // The tag, a frame in it and a frame in a chapter may each be unsynchronised.
    for (int decoded = 0; decoded < 4; ++decoded) {
        // Where compressed frames ended the reading, not all chapters were counted; then there must be one or none.
        const unsigned allowed = compressed_ > 0 ? std::min(chapters_, 1U) : chapters_;
        if (!allInflateWithin(viewOf(tag), static_cast<uint8_t>(start[3])) || chapterStarts(viewOf(tag)) > allowed)
            return false;
        tag = TagLib::ID3v2::SynchData::decode(tag);
    }
    return !stream.hasRefused();
}
