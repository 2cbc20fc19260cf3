// What the headers of an MPEG audio file tell: frame header, Xing or Info frame, encoder delay.
//
// Threads: any.
#pragma once

#include <QFile>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

/// The first four bytes of a frame.
struct MpegFrameHeader {
    int layer = 0;           ///< 1 to 3
    int sampleRate = 0;      ///< hertz
    int bitRate = 0;         ///< bits per second
    int samplesPerFrame = 0; ///< per channel
    int frameBytes = 0;
    int sideInfoBytes = 0; ///< between the header and the data of layer III
};

/// Nothing for bytes that begin no frame, nor for the free bit rate, which nobody writes.
std::optional<MpegFrameHeader> mpegFrameHeader(std::span<const uint8_t> bytes);

/// Length in bytes of the ID3v2 tag that `bytes`, ten at least, begin with; 0 if there is none.
qint64 id3v2Bytes(std::span<const uint8_t> bytes);

/// Gives up to `size` bytes from `position` of a file; the number given.
using ByteReader = std::function<size_t(uint64_t position, void *bytes, size_t size)>;
ByteReader readerOf(QFile &file);

/// Where the ID3v2 tags at the start of a file end.
uint64_t behindLeadingTags(const ByteReader &read);

/// The place of the first frame, looked for in the mebibyte from `start`, the end of the tags. `end` of the sound.
std::optional<uint64_t> firstMpegFrame(const ByteReader &read, uint64_t start, uint64_t end);

struct MpegAudioInfo {
    int layer = 0;
    int sampleRate = 0;   ///< hertz
    int bitRate = 0;      ///< bits per second, the average where the Info frame tells it
    double seconds = 0;   ///< duration
    bool isExact = false; ///< the duration counts frames, without the encoder's delay and padding
    bool hasInfoFrame = false;
};

/// Nothing if firstMpegFrame() finds none.
std::optional<MpegAudioInfo> mpegAudioInfo(const QString &path);
