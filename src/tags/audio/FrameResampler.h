// Brings decoded sound of any rate, layout and sample format to 16 bits at one rate.
//
// Threads: any; an object belongs to one thread at a time.
#pragma once

#include "platform/media/Av.h"

#include <QtGlobal>
#include <cstdint>
#include <functional>
#include <vector>

class FrameResampler {
public:
    /// Takes interleaved samples; false when no more are wanted.
    using Sink = std::function<bool(const int16_t *samples, qint64 frames)>;

    /// How exactly what the rate can't hold is taken out.
    enum class Filter {
        Exact, ///< for ears
        Coarse ///< at half the cost, and takes more of the highest fifth with it: for who only compares
    };
    FrameResampler(int rate, int channels, Sink sink, Filter filter = Filter::Exact);

    /// Takes the samples of `frame` behind its start; what stands before the beginning of `stream` is left out. The
    /// sound may change in kind between frames. False if it can't be converted.
    bool add(const AVFrame &frame, const AVStream &stream);

    /// Gives out what is still held, so that in all there are as many frames as the source's length makes.
    void finish();

private:
    bool fits(const AVFrame &frame) const;
    bool configure(const AVFrame &frame);
    bool convert(const uint8_t **planes, int count, qint64 end);
    void give(const int16_t *samples, qint64 frames);

    const int rate_; // what is given out
    const int channels_;
    const Sink sink_;
    const Filter filter_;
    AvResampler resampler_;
    int sourceRate_ = 0; // what resampler_ takes
    int sourceFormat_ = 0;
    int sourceChannels_ = 0;
    std::vector<int16_t> buffer_;
    double expected_ = 0; // frames that the source so far makes at rate_
    qint64 given_ = 0;
    bool isWanted_ = true; // until the sink has had enough
};
