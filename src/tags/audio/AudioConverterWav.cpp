// The cut of a track's opening seconds.
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioLength.h"
#include "tags/audio/AudioSource.h"

#include <QFileInfo>
#include <QSaveFile>
#include <QtEndian>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kChannels = 2;
constexpr int kFrameBytes = 4;
constexpr int kHeaderBytes = 44;
constexpr int kStepFrames = 65536; // resampled at a time
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

// Resamples frames of any rate, layout and sample format to the file's. A stream may change between frames.
class WavCut {
public:
    WavCut(QSaveFile &file, qint64 limit) : file_(file), limit_(limit) {}

    bool isFull() const { return written_ >= limit_; }
    qint64 frames() const { return written_; }

    /// Takes the samples of `frame` behind the first `skipped`; false if they can't be converted.
    bool add(const AVFrame &frame, int skipped) {
        if (!fits(frame) && !configure(frame))
            return false;
        const int count = frame.nb_samples - skipped;
        const auto format = static_cast<AVSampleFormat>(frame.format);
        const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
        const int stride = av_get_bytes_per_sample(format) * (isPlanar ? 1 : frame.ch_layout.nb_channels);
        std::vector<const uint8_t *> planes(isPlanar ? frame.ch_layout.nb_channels : 1);
        for (size_t i = 0; i < planes.size(); ++i)
            planes[i] = frame.extended_data[i] + static_cast<ptrdiff_t>(skipped) * stride;
        expected_ += static_cast<double>(count) * kRate / frame.sample_rate;
        // In steps, since a few samples at a low rate make very many here.
        const int step = static_cast<int>(std::max<int64_t>(1, int64_t{kStepFrames} * frame.sample_rate / kRate));
        for (int done = 0; done < count && !isFull(); done += step) {
            if (!convert(planes.data(), std::min(step, count - done), limit_))
                return false;
            for (const uint8_t *&plane : planes)
                plane += static_cast<ptrdiff_t>(step) * stride;
        }
        return true;
    }

    /// What the resampler still holds. It gives a few frames more or less than the source's length; that is what
    /// counts.
    void finish() {
        const qint64 end = std::min(limit_, static_cast<qint64>(std::llround(expected_)));
        if (resampler_)
            convert(/*planes=*/nullptr, 0, end); // on failure silence stands for the last few frames
        if (written_ < end)
            write(std::vector<uint8_t>(static_cast<size_t>((end - written_) * kFrameBytes)).data(), end - written_);
    }

private:
    bool fits(const AVFrame &frame) const {
        return resampler_ && frame.sample_rate == rate_ && frame.format == format_ &&
               frame.ch_layout.nb_channels == channels_;
    }

    bool configure(const AVFrame &frame) {
        if (frame.sample_rate <= 0)
            return false;
        finish();
        AVChannelLayout layout{};
        AVChannelLayout stereo{};
        av_channel_layout_default(&stereo, kChannels);
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
            av_channel_layout_default(&layout, frame.ch_layout.nb_channels);
        else
            av_channel_layout_copy(&layout, &frame.ch_layout);
        SwrContext *resampler = nullptr;
        const int code = swr_alloc_set_opts2(&resampler, &stereo, AV_SAMPLE_FMT_S16, kRate, &layout,
                                             static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
        av_channel_layout_uninit(&layout);
        resampler_.reset(resampler);
        if (code < 0 || swr_init(resampler) < 0) {
            resampler_.reset();
            return false;
        }
        rate_ = frame.sample_rate;
        format_ = frame.format;
        channels_ = frame.ch_layout.nb_channels;
        return true;
    }

    bool convert(const uint8_t **planes, int count, qint64 end) {
        buffer_.resize(static_cast<size_t>(std::max(swr_get_out_samples(resampler_.get(), count), 0)) * kFrameBytes);
        uint8_t *out = buffer_.data();
        const int room = static_cast<int>(buffer_.size() / kFrameBytes);
        const int made = swr_convert(resampler_.get(), &out, room, planes, count);
        if (made > 0)
            write(buffer_.data(), std::min<qint64>(made, end - written_));
        return made >= 0;
    }

    // A failed write is remembered by the file, which then refuses to be committed.
    void write(const uint8_t *samples, qint64 frames) {
        if (frames <= 0)
            return;
        file_.write(reinterpret_cast<const char *>(samples), frames * kFrameBytes);
        written_ += frames;
    }

    QSaveFile &file_;
    const qint64 limit_;
    AvResampler resampler_;
    int rate_ = 0; // what resampler_ takes
    int format_ = 0;
    int channels_ = 0;
    std::vector<uint8_t> buffer_;
    double expected_ = 0; // frames that the source so far makes at the file's rate
    qint64 written_ = 0;
};

// Samples of `frame` that stand before the beginning of the track.
int samplesBeforeStart(const AVFrame &frame, const AVStream &stream) {
    if (frame.pts == AV_NOPTS_VALUE || frame.pts >= 0 || frame.sample_rate <= 0)
        return 0;
    const int64_t before = av_rescale_q(-frame.pts, stream.time_base, {1, frame.sample_rate});
    return static_cast<int>(std::min<int64_t>(before, frame.nb_samples));
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
    WavCut cut(file, std::llround(frames));
    while (!cut.isFull()) {
        const AVFrame *frame = source->nextFrame(std::numeric_limits<int>::max());
        if (!frame || !cut.add(*frame, samplesBeforeStart(*frame, *source->stream())))
            break;
    }
    cut.finish();
    if (file.seek(0))
        file.write(wavHeader(cut.frames()));
    // A failure leaves no file, which is how the caller learns of it.
    if (cut.frames() > 0)
        file.commit();
    return 1;
}
