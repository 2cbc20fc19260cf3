// Turns a stream of 16-bit stereo sound into bars: gathers a tenth of a second, transforms it, and reduces the lines.
//
// Threads: one at a time.
#pragma once

#include "capture/FFTransform.h"
#include "capture/SampleIter.h"

#include <cstdint>
#include <memory>
#include <vector>

/// Describes PCM sound.
struct WaveInfo_s {
    uint16_t channels = 2;
    uint32_t samplesPerSecond = 44100;
    uint32_t averageBytesPerSecond = 176400;
    uint16_t blockAlignment = 4;
    uint16_t bitsPerSample = 16;
};

class CSampleTransform {
public:
    /// Without a description, or with one of no sound at all, it never has a result.
    CSampleTransform(const WaveInfo_s *waveInfo, int32_t barCount);

    /// Gathers `size` bytes. True when `count` values in `bars` are a new result; what of the data lies beyond the
    /// tenth of a second is thrown away then.
    bool SampleTransBarvalue(const void *data, int32_t size, int32_t *bars, int32_t count);
    /// Makes the bars of `data`. A bar below its earlier value in `bars` falls by 200, not below 0.
    void CalcBarvalue(const void *data, int32_t size, int32_t *bars, int32_t count);

private:
    void InitParam(const WaveInfo_s &waveInfo);
    void chooseChannel();
    void gatherLines();

    std::unique_ptr<FFTransform> fft_; // made by the first calculation
    std::unique_ptr<SampleIter> sampleIter_;
    std::vector<int32_t> barValues_;
    std::vector<uint8_t> sampleBuffer_;
    int32_t bufferedBytes_ = 0;
    WaveInfo_s waveInfo_;
    int32_t barCount_;
};
