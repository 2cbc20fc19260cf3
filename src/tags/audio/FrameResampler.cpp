#include "tags/audio/FrameResampler.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

extern "C" {
#include <libavutil/opt.h>
}

namespace {

// As the library has it that makes fingerprints, where it resamples itself.
constexpr int kCoarseTaps = 16;
constexpr double kCoarseCutoff = 0.8; // of what the rate can hold

constexpr int kStepFrames = 65536; // resampled at a time

// Samples of `frame` that stand before the beginning of the track.
int samplesBeforeStart(const AVFrame &frame, const AVStream &stream) {
    if (frame.pts == AV_NOPTS_VALUE || frame.pts >= 0)
        return 0;
    const int64_t before = av_rescale_q(-frame.pts, stream.time_base, {1, frame.sample_rate});
    return static_cast<int>(std::min<int64_t>(before, frame.nb_samples));
}

} // namespace

FrameResampler::FrameResampler(int rate, int channels, Sink sink, Filter filter)
    : rate_(rate), channels_(channels), sink_(std::move(sink)), filter_(filter) {}

bool FrameResampler::add(const AVFrame &frame, const AVStream &stream) {
    if (!fits(frame) && !configure(frame))
        return false;
    const int skipped = samplesBeforeStart(frame, stream);
    const int count = frame.nb_samples - skipped;
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
    const int stride = av_get_bytes_per_sample(format) * (isPlanar ? 1 : frame.ch_layout.nb_channels);
    std::vector<const uint8_t *> planes(isPlanar ? frame.ch_layout.nb_channels : 1);
    for (size_t i = 0; i < planes.size(); ++i)
        planes[i] = frame.extended_data[i] + static_cast<ptrdiff_t>(skipped) * stride;
    expected_ += static_cast<double>(count) * rate_ / frame.sample_rate;
    // In steps, since a few samples at a low rate make very many here.
    const int step = static_cast<int>(std::max<int64_t>(1, int64_t{kStepFrames} * frame.sample_rate / rate_));
    for (int done = 0; done < count && isWanted_; done += step) {
        if (!convert(planes.data(), std::min(step, count - done), std::numeric_limits<qint64>::max()))
            return false;
        for (const uint8_t *&plane : planes)
            plane += static_cast<ptrdiff_t>(step) * stride;
    }
    return true;
}

// The resampler gives a few frames more or less than the source's length; that is what counts.
void FrameResampler::finish() {
    const qint64 end = std::llround(expected_);
    if (resampler_)
        convert(/*planes=*/nullptr, 0, end); // on failure silence stands for the last few frames
    while (isWanted_ && given_ < end) {
        const qint64 missing = std::min<qint64>(end - given_, kStepFrames);
        give(std::vector<int16_t>(static_cast<size_t>(missing * channels_)).data(), missing);
    }
}

bool FrameResampler::fits(const AVFrame &frame) const {
    return resampler_ && frame.sample_rate == sourceRate_ && frame.format == sourceFormat_ &&
           frame.ch_layout.nb_channels == sourceChannels_;
}

bool FrameResampler::configure(const AVFrame &frame) {
    if (frame.sample_rate <= 0)
        return false;
    finish();
    AVChannelLayout layout{};
    AVChannelLayout target{};
    av_channel_layout_default(&target, channels_);
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&layout, frame.ch_layout.nb_channels);
    else
        av_channel_layout_copy(&layout, &frame.ch_layout);
    SwrContext *resampler = nullptr;
    const int code = swr_alloc_set_opts2(&resampler, &target, AV_SAMPLE_FMT_S16, rate_, &layout,
                                         static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    av_channel_layout_uninit(&layout);
    resampler_.reset(resampler);
    if (code >= 0 && filter_ == Filter::Coarse) {
        // A refusal leaves the exact one, which is only slower.
        av_opt_set_int(resampler, "filter_size", kCoarseTaps, 0);
        av_opt_set_double(resampler, "cutoff", kCoarseCutoff, 0);
    }
    if (code < 0 || swr_init(resampler) < 0) {
        resampler_.reset();
        return false;
    }
    sourceRate_ = frame.sample_rate;
    sourceFormat_ = frame.format;
    sourceChannels_ = frame.ch_layout.nb_channels;
    return true;
}

bool FrameResampler::convert(const uint8_t **planes, int count, qint64 end) {
    const int room = std::max(swr_get_out_samples(resampler_.get(), count), 0);
    buffer_.resize(static_cast<size_t>(room) * static_cast<size_t>(channels_));
    auto *out = reinterpret_cast<uint8_t *>(buffer_.data());
    const int made = swr_convert(resampler_.get(), &out, room, planes, count);
    if (made > 0)
        give(buffer_.data(), std::min<qint64>(made, end - given_));
    return made >= 0;
}

void FrameResampler::give(const int16_t *samples, qint64 frames) {
    if (frames <= 0 || !isWanted_)
        return;
    given_ += frames;
    isWanted_ = sink_(samples, frames);
}
