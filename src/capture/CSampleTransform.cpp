#include "capture/CSampleTransform.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr int64_t kSoftCeiling = 1500;
constexpr int32_t kFall = 200; // of a bar, per result
constexpr int32_t kBytesPerSample = 2;

/// Bytes of a tenth of a second.
int64_t analysisLength(const WaveInfo_s &wave) { return int64_t{wave.blockAlignment} * wave.samplesPerSecond / 10; }

int32_t bytesPerFrame(const WaveInfo_s &wave) { return wave.bitsPerSample / 8 * wave.channels; }

/// A small value doubles, one above 500 moves halfway towards the ceiling, and one above the ceiling halfway down.
int64_t softened(int64_t value) { return value + std::min(value, (kSoftCeiling - value) / 2); }
} // namespace

CSampleTransform::CSampleTransform(const WaveInfo_s *waveInfo, int32_t barCount) : barCount_(std::max(barCount, 0)) {
    if (waveInfo && analysisLength(*waveInfo) > 0 && analysisLength(*waveInfo) <= INT32_MAX &&
        bytesPerFrame(*waveInfo) > 0)
        InitParam(*waveInfo);
}

void CSampleTransform::InitParam(const WaveInfo_s &waveInfo) {
    waveInfo_ = waveInfo;
    sampleIter_ = std::make_unique<SampleIter>();
    barValues_.resize(static_cast<size_t>(barCount_));
    // More than is in use, but where a frame has more than ten bytes.
    sampleBuffer_.resize(std::max<size_t>(waveInfo.samplesPerSecond, static_cast<size_t>(analysisLength(waveInfo))));
}

bool CSampleTransform::SampleTransBarvalue(const void *data, int32_t size, int32_t *bars, int32_t count) {
    if (!data || size < 0 || !bars || count < 1 || !sampleIter_)
        return false;
    const auto chunk = static_cast<int32_t>(analysisLength(waveInfo_));
    const int32_t fitting = std::min(size, chunk - bufferedBytes_);
    std::memcpy(sampleBuffer_.data() + bufferedBytes_, data, static_cast<size_t>(fitting));
    bufferedBytes_ += fitting;
    if (bufferedBytes_ < chunk)
        return false;
    bufferedBytes_ = 0;
    CalcBarvalue(sampleBuffer_.data(), chunk, bars, count);
    return true;
}

void CSampleTransform::CalcBarvalue(const void *data, int32_t size, int32_t *bars, int32_t count) {
    if (!data || !bars || count < 1 || !sampleIter_)
        return;
    if (!fft_)
        fft_ = std::make_unique<FFTransform>(static_cast<int32_t>(waveInfo_.samplesPerSecond),
                                             size / bytesPerFrame(waveInfo_));
    barCount_ = count;
    barValues_.assign(static_cast<size_t>(count), 0);
    sampleIter_->SetSampleWorkSet(data, size, kBytesPerSample, /*isStereo=*/true);
    sampleIter_->SetPos(0);
    chooseChannel();
    // Without new lines the bars are made of the earlier ones.
    fft_->fftTransformMag(*sampleIter_, /*isSigned=*/true);
    gatherLines();
    for (int32_t i = 0; i < count; ++i) {
        const int32_t value = barValues_[static_cast<size_t>(i)];
        bars[i] = value >= bars[i] ? value : std::max(bars[i] - kFall, 0);
    }
}

/// The very first frame decides for the whole piece.
void CSampleTransform::chooseChannel() {
    const bool hasLeft = sampleIter_->GetSample() != 0;
    sampleIter_->SetWorkChannel(WorkChannel::Right);
    const bool hasRight = sampleIter_->GetSample() != 0;
    if (hasLeft == hasRight)
        sampleIter_->SetWorkChannel(WorkChannel::Both);
    else
        sampleIter_->SetWorkChannel(hasLeft ? WorkChannel::Left : WorkChannel::Right);
}

/// Each group of neighbouring lines makes a bar. A line counts only if it exceeds what its group has gathered so far,
/// the lowest group is left out, and what remains behind the last whole group is not softened.
void CSampleTransform::gatherLines() {
    const std::vector<float> &lines = fft_->fftGetMagArray();
    const int32_t half = sampleIter_->Count() / 2;
    const int32_t group = half / (barCount_ + 1);
    int64_t gathered = 0;
    int32_t run = 0;
    int32_t bar = -2;
    for (size_t i = 0; i < std::min(static_cast<size_t>(half), lines.size()); ++i) {
        if (lines[i] > static_cast<float>(gathered))
            gathered += static_cast<int64_t>(lines[i]);
        if (++run <= group)
            continue;
        run = 0;
        if (++bar >= 0)
            barValues_[static_cast<size_t>(bar)] = static_cast<int32_t>(softened(gathered));
        gathered = 0;
    }
    if (bar < barCount_ - 1 && bar >= -1)
        barValues_[static_cast<size_t>(bar) + 1] = static_cast<int32_t>(gathered);
}
