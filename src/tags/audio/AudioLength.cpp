#include "tags/audio/AudioLength.h"

#include "tags/audio/AudioSource.h"
#include "tags/audio/MpegAudioInfo.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cmath>

namespace {

// Seconds; the coarsest clock in common use has 600 ticks a second.
constexpr double kEditListTick = 1.0 / 600;

// Whether one of the file's top-level boxes is a movie fragment.
bool isFragmented(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    for (qint64 at = 0; file.seek(at);) {
        const QByteArray head = file.read(16);
        if (head.size() < 8)
            return false;
        if (head.mid(4, 4) == "moof")
            return true;
        qint64 size = qFromBigEndian<quint32>(head.constData());
        if (size == 1 && head.size() == 16)
            size = qFromBigEndian<qint64>(head.constData() + 8); // the box has a 64-bit size
        if (size < 8 || size > file.size() - at)
            return false;
        at += size;
    }
    return false;
}

double secondsOf(const AVStream &stream, int64_t units) {
    return static_cast<double>(units) * av_q2d(stream.time_base);
}

// The stream's end counts from its first packet, which stands before the track's start by the encoder's delay. In a
// fragmented file the demuxer knows the end once it has seen every fragment.
AudioLength mp4Length(const QString &path, AudioSource &source) {
    const AVStream &stream = *source.stream();
    const bool hasFragments = isFragmented(path);
    int64_t start = 0;
    int64_t bytes = 0;
    while (const AVPacket *packet = source.nextPacket()) {
        if (packet->pts != AV_NOPTS_VALUE)
            start = std::min(start, packet->pts);
        bytes += packet->size;
        if (!hasFragments)
            break;
    }
    // An unknown duration is the least of all numbers.
    const int64_t duration = std::max<int64_t>(stream.duration, 0);
    AudioLength length{.seconds = secondsOf(stream, std::max<int64_t>(duration + start, 0)),
                       .isExact = true,
                       .bitRate = static_cast<double>(stream.codecpar->bit_rate)};
    if (hasFragments) {
        length.bitRate = length.seconds > 0 ? static_cast<double>(bytes) * 8 / length.seconds : 0;
        return length;
    }
    // An edit list that ends elsewhere means it; one that only rounds to its clock is less exact than the stream.
    if (const auto edited = AudioSource::open(path, /*isCutByEditList=*/true);
        edited && edited->stream()->duration > 0) {
        const double end = secondsOf(*edited->stream(), edited->stream()->duration);
        if (std::abs(end - length.seconds) > kEditListTick)
            length.seconds = end;
    }
    return length;
}

} // namespace

std::optional<AudioLength> audioLength(const QString &path) {
    const auto source = AudioSource::open(path);
    return source ? audioLength(path, *source) : std::nullopt;
}

std::optional<AudioLength> audioLength(const QString &path, AudioSource &source) {
    const AVStream &stream = *source.stream();
    AudioLength length;
    switch (source.container()) {
    case AudioSource::Container::MPEG: {
        const auto info = mpegAudioInfo(path);
        if (!info)
            return std::nullopt;
        // Some encoders leave a count in a header of their own, which the demuxer knows.
        const bool isBetterKnown = !info->hasInfoFrame && stream.duration > 0;
        return AudioLength{.seconds = isBetterKnown ? secondsOf(stream, stream.duration) : info->seconds,
                           .isExact = info->isExact,
                           .bitRate = static_cast<double>(info->bitRate),
                           .sampleRate = static_cast<double>(info->sampleRate),
                           .mpegLayer = info->layer};
    }
    case AudioSource::Container::MP4:
        length = mp4Length(path, source);
        break;
    case AudioSource::Container::Other:
        length.seconds = stream.duration > 0
                             ? secondsOf(stream, stream.duration)
                             : std::max(0.0, static_cast<double>(source.input()->duration) / AV_TIME_BASE);
        length.bitRate = static_cast<double>(stream.codecpar->bit_rate);
        break;
    }
    length.sampleRate = stream.codecpar->sample_rate;
    return length;
}
