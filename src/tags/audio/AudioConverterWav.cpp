// The cut of a track's opening seconds.
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioLength.h"
#include "tags/audio/AudioSource.h"
#include "tags/audio/FrameResampler.h"

#include <QFileInfo>
#include <QSaveFile>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kRate = 44100;
constexpr int kChannels = 2;
constexpr int kFrameBytes = 4;
constexpr int kHeaderBytes = 44;
constexpr qint64 kLargestFrames = (std::numeric_limits<uint32_t>::max() - kHeaderBytes) / kFrameBytes;

QByteArray wavHeader(qint64 frames) {
    const auto dataBytes = static_cast<uint32_t>(frames * kFrameBytes);
    QByteArray header;
    const auto add = [&header](auto number) {
        number = qToLittleEndian(number);
        header.append(reinterpret_cast<const char *>(&number), sizeof number);
    };
    header.append("RIFF");
    add(dataBytes + kHeaderBytes - 8);
    header.append("WAVEfmt ");
    add(uint32_t{16});
    add(uint16_t{1}); // PCM
    add(uint16_t{kChannels});
    add(uint32_t{kRate});
    add(uint32_t{kRate * kFrameBytes});
    add(uint16_t{kFrameBytes});
    add(uint16_t{16});
    header.append("data");
    add(dataBytes);
    return header;
}

} // namespace

int32_t AudioConverter::convertAudioToWav(const QString &path, const QString &toDestPath, double forEndTime) {
    // Whoever finds a file here takes it for this track, so an earlier one must not stay.
    if (QFileInfo(toDestPath).isFile())
        QFile::remove(toDestPath);
    const auto length = audioLength(path);
    const auto source = length ? AudioSource::open(path) : nullptr;
    if (!source || !source->openDecoder(/*isTrimmed=*/true))
        return 0;

    const double wanted = length->isExact ? std::min(forEndTime, length->seconds) : forEndTime;
    const double frames = std::clamp(wanted * kRate, 0.0, static_cast<double>(kLargestFrames));
    QSaveFile file(toDestPath);
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    file.write(wavHeader(0));
    const qint64 limit = std::llround(frames);
    qint64 written = 0;
    // A failed write is remembered by the file, which then refuses to be committed.
    FrameResampler resampler(kRate, kChannels, [&](const int16_t *samples, qint64 count) {
        const qint64 taken = std::min(count, limit - written);
        file.write(reinterpret_cast<const char *>(samples), taken * kFrameBytes);
        written += taken;
        return written < limit;
    });
    while (written < limit) {
        const AVFrame *frame = source->nextFrame(std::numeric_limits<int>::max());
        if (!frame || !resampler.add(*frame, *source->stream()))
            break;
    }
    resampler.finish();
    const QByteArray header = wavHeader(written);
    // A failure leaves no file, which is how the caller learns of it; commit() would not tell of a flush that fails.
    if (written > 0 && file.seek(0) && file.write(header) == header.size() && file.flush())
        file.commit();
    return 1;
}
