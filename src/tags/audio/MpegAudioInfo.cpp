#include "tags/audio/MpegAudioInfo.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr qint64 kSearchBytes = 65536;
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

std::span<const uint8_t> spanOf(const QByteArray &bytes, qsizetype from = 0) {
    return {reinterpret_cast<const uint8_t *>(bytes.constData()) + from, static_cast<size_t>(bytes.size() - from)};
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

// The place of the first frame that is followed by another of its kind, or by the end of `bytes`.
qsizetype firstFrame(const QByteArray &bytes) {
    for (qsizetype at = 0; at + 4 <= bytes.size(); ++at) {
        const auto header = mpegFrameHeader(spanOf(bytes, at));
        if (!header)
            continue;
        const qsizetype next = at + header->frameBytes;
        if (next + 4 > bytes.size())
            return at;
        const auto following = mpegFrameHeader(spanOf(bytes, next));
        if (following && following->layer == header->layer && following->sampleRate == header->sampleRate)
            return at;
    }
    return -1;
}

qint64 tagsBefore(QFile &file) {
    qint64 start = 0;
    while (file.seek(start)) {
        const QByteArray head = file.read(10);
        const qint64 tag = head.size() == 10 ? id3v2Bytes(spanOf(head)) : 0;
        if (tag == 0)
            break;
        start += tag;
    }
    return start;
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

std::optional<MpegAudioInfo> mpegAudioInfo(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const qint64 tags = tagsBefore(file);
    if (!file.seek(tags))
        return std::nullopt;
    const QByteArray head = file.read(kSearchBytes);
    const qsizetype first = firstFrame(head);
    if (first < 0)
        return std::nullopt;
    const MpegFrameHeader header = *mpegFrameHeader(spanOf(head, first));
    MpegAudioInfo info{.layer = header.layer, .sampleRate = header.sampleRate, .bitRate = header.bitRate};

    const qint64 start = tags + first;
    file.seek(std::max<qint64>(start, file.size() - kId3v1Bytes));
    const qint64 audioBytes = file.size() - start - (file.read(3) == "TAG" ? kId3v1Bytes : 0);

    const auto counted = infoFrame(spanOf(head, first), header);
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
