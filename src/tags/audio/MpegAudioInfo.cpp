#include "tags/audio/MpegAudioInfo.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr uint64_t kSearchBytes = 1U << 20;
constexpr qint64 kFrameBytes = 4096; // more than any frame has
constexpr int kId3v1Bytes = 128;
constexpr int kDecoderDelay = 529; // frames that every layer III decoder is late

// Kilobits per second by table and bit rate index.
constexpr std::array<std::array<int, 15>, 5> kBitRates = {{
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448}, // MPEG 1 layer I
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},    // MPEG 1 layer II
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},     // MPEG 1 layer III
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},    // MPEG 2 layer I
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},         // MPEG 2 layers II and III
}};

std::span<const uint8_t> spanOf(const QByteArray &bytes) {
    return {reinterpret_cast<const uint8_t *>(bytes.constData()), static_cast<size_t>(bytes.size())};
}

struct InfoFrame {
    bool isVariable = false;
    uint32_t frames = 0; // the Info frame itself not counted
    uint32_t bytes = 0;  // the Info frame counted; 0 if not told
    bool hasPadding = false;
    int delay = 0;   // frames of silence that the encoder put before the music
    int padding = 0; // and behind it
};

std::optional<InfoFrame> infoFrame(std::span<const uint8_t> frame, const MpegFrameHeader &header) {
    size_t at = 4 + static_cast<size_t>(header.sideInfoBytes);
    if (header.layer != 3 || frame.size() < at + 156)
        return std::nullopt;
    InfoFrame info;
    info.isVariable = std::memcmp(frame.data() + at, "Xing", 4) == 0;
    if (!info.isVariable && std::memcmp(frame.data() + at, "Info", 4) != 0)
        return std::nullopt;
    const auto next = [&](size_t bytes) {
        const uint8_t *here = frame.data() + at;
        at += bytes;
        return here;
    };
    next(4);
    const auto flags = qFromBigEndian<uint32_t>(next(4));
    if (flags & 1)
        info.frames = qFromBigEndian<uint32_t>(next(4));
    if (flags & 2)
        info.bytes = qFromBigEndian<uint32_t>(next(4));
    if (flags & 4)
        next(100); // table of contents
    if (flags & 8)
        next(4); // quality
    const uint8_t *encoder = next(24);
    for (const char *name : {"LAME", "Lavf", "Lavc"})
        info.hasPadding = info.hasPadding || std::memcmp(encoder, name, 4) == 0;
    info.delay = encoder[21] << 4 | encoder[22] >> 4;
    info.padding = (encoder[22] & 0x0f) << 8 | encoder[23];
    if (info.frames == 0)
        return std::nullopt;
    return info;
}

std::optional<MpegFrameHeader> headerAt(const ByteReader &read, uint64_t position, uint64_t end) {
    std::array<uint8_t, 4> bytes{};
    if (position + bytes.size() > end || read(position, bytes.data(), bytes.size()) < bytes.size())
        return std::nullopt;
    return mpegFrameHeader(bytes);
}

// Three headers of a kind in a row tell frames from chance; where the sound ends sooner, it ends with a frame, or the
// first stands where it must, `isInPlace`.
bool areFramesAt(const ByteReader &read, uint64_t position, uint64_t end, bool isInPlace) {
    const auto first = headerAt(read, position, end);
    for (int i = 0; i < 3; ++i) {
        const auto header = headerAt(read, position, end);
        if (!header || header->layer != first->layer || header->sampleRate != first->sampleRate)
            return false;
        position += static_cast<uint64_t>(header->frameBytes);
        if (position + 4 > end)
            return position == end || isInPlace;
    }
    return true;
}

} // namespace

std::optional<MpegFrameHeader> mpegFrameHeader(std::span<const uint8_t> bytes) {
    if (bytes.size() < 4 || bytes[0] != 0xff || (bytes[1] & 0xe0) != 0xe0)
        return std::nullopt;
    const int version = bytes[1] >> 3 & 3; // 0 is MPEG 2.5, 2 is MPEG 2, 3 is MPEG 1
    const int layer = 4 - (bytes[1] >> 1 & 3);
    const int rateIndex = bytes[2] >> 4;
    const int sampleRateIndex = bytes[2] >> 2 & 3;
    if (version == 1 || layer == 4 || rateIndex == 0 || rateIndex == 15 || sampleRateIndex == 3)
        return std::nullopt;

    const bool isVersion1 = version == 3;
    const bool isMono = bytes[3] >> 6 == 3;
    const int padding = bytes[2] >> 1 & 1;
    const int table = isVersion1 ? layer - 1 : (layer == 1 ? 3 : 4);
    constexpr std::array<int, 3> kSampleRates = {44100, 48000, 32000};
    MpegFrameHeader header;
    header.layer = layer;
    header.sampleRate = kSampleRates.at(sampleRateIndex) / (isVersion1 ? 1 : version == 2 ? 2 : 4);
    header.bitRate = kBitRates.at(table).at(rateIndex) * 1000;
    header.samplesPerFrame = layer == 1 ? 384 : (layer == 3 && !isVersion1) ? 576 : 1152;
    header.frameBytes = layer == 1 ? (12 * header.bitRate / header.sampleRate + padding) * 4
                                   : header.samplesPerFrame / 8 * header.bitRate / header.sampleRate + padding;
    header.sideInfoBytes = isVersion1 ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
    return header;
}

qint64 id3v2Bytes(std::span<const uint8_t> bytes) {
    if (bytes.size() < 10 || std::memcmp(bytes.data(), "ID3", 3) != 0)
        return 0;
    const qint64 body = (bytes[6] & 0x7f) << 21 | (bytes[7] & 0x7f) << 14 | (bytes[8] & 0x7f) << 7 | (bytes[9] & 0x7f);
    const bool hasFooter = (bytes[5] & 0x10) != 0;
    return body + (hasFooter ? 20 : 10);
}

ByteReader readerOf(QFile &file) {
    return [&file](uint64_t position, void *bytes, size_t size) -> size_t {
        if (!file.seek(static_cast<qint64>(position)))
            return 0;
        const qint64 got = file.read(static_cast<char *>(bytes), static_cast<qint64>(size));
        return static_cast<size_t>(std::max<qint64>(got, 0));
    };
}

uint64_t behindLeadingTags(const ByteReader &read) {
    uint64_t position = 0;
    std::array<uint8_t, 10> head{};
    while (read(position, head.data(), head.size()) == head.size() && id3v2Bytes(head) > 0)
        position += static_cast<uint64_t>(id3v2Bytes(head));
    return position;
}

std::optional<uint64_t> firstMpegFrame(const ByteReader &read, uint64_t start, uint64_t end) {
    std::array<uint8_t, 8192> bytes{};
    const uint64_t searchEnd = std::min(end, start + kSearchBytes);
    for (uint64_t position = start; position < searchEnd; position += bytes.size() - 3) {
        const size_t got = read(position, bytes.data(), bytes.size());
        for (size_t at = 0; at + 4 <= got; ++at)
            if (mpegFrameHeader({bytes.data() + at, 4}) &&
                areFramesAt(read, position + at, end, position + at == start))
                return position + at;
    }
    return std::nullopt;
}

std::optional<MpegAudioInfo> mpegAudioInfo(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const qint64 endTag = std::max<qint64>(0, file.size() - kId3v1Bytes);
    file.seek(endTag);
    const qint64 end = file.read(3) == "TAG" ? endTag : file.size();
    const ByteReader read = readerOf(file);
    const auto start = firstMpegFrame(read, behindLeadingTags(read), static_cast<uint64_t>(end));
    if (!start || !file.seek(static_cast<qint64>(*start)))
        return std::nullopt;
    const QByteArray head = file.read(kFrameBytes);
    const MpegFrameHeader header = *mpegFrameHeader(spanOf(head));
    MpegAudioInfo info{.layer = header.layer, .sampleRate = header.sampleRate, .bitRate = header.bitRate};

    const qint64 audioBytes = end - static_cast<qint64>(*start);
    const auto counted = infoFrame(spanOf(head), header);
    info.hasInfoFrame = counted.has_value();
    // A file that was cut short still has the Info frame of the whole one; then only its size tells the truth.
    if (!counted || static_cast<qint64>(counted->bytes) > audioBytes) {
        info.seconds = static_cast<double>(audioBytes) * 8 / header.bitRate;
        return info;
    }
    const qint64 frames = static_cast<qint64>(counted->frames) * header.samplesPerFrame;
    const qint64 music = counted->hasPadding ? std::min(frames - counted->padding + kDecoderDelay, frames) -
                                                   (counted->delay + kDecoderDelay)
                                             : frames;
    info.seconds = static_cast<double>(std::max<qint64>(music, 0)) / header.sampleRate;
    info.isExact = counted->hasPadding;
    if (counted->isVariable && counted->bytes > 0)
        info.bitRate = static_cast<int>(static_cast<double>(counted->bytes) * 8 * header.sampleRate / frames);
    return info;
}
