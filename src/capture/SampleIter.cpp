#include "capture/SampleIter.h"

#include <cmath>
#include <cstring>

bool SampleIter::SetSampleWorkSet(const void *data, int32_t size, int32_t bytesPerSample, bool isStereo) {
    if (!data || bytesPerSample < 1)
        return false;
    data_ = static_cast<const uint8_t *>(data);
    size_ = size;
    bytesPerSample_ = bytesPerSample;
    isStereo_ = isStereo;
    workChannel_ = isStereo ? WorkChannel::Both : WorkChannel::Single;
    return true;
}

void SampleIter::SetPos(int32_t frame) { position_ = frame * bytesPerFrame(); }

int32_t SampleIter::GetPos() const { return data_ ? static_cast<int32_t>(position_ / bytesPerFrame()) : 0; }

int32_t SampleIter::Count() const {
    if (!data_ || size_ <= 0)
        return 0;
    const int32_t samples = size_ / bytesPerSample_;
    return isStereo_ ? samples / 2 : samples;
}

void SampleIter::Advance() { position_ += bytesPerFrame(); }

int32_t SampleIter::GetSample() const {
    const int64_t at = position_ + (workChannel_ == WorkChannel::Right ? bytesPerSample_ : 0);
    if (!data_ || at < 0 || at + bytesPerSample_ > size_)
        return -1;
    if (bytesPerSample_ == 1)
        return static_cast<int8_t>(data_[at]);
    if (bytesPerSample_ != 2)
        return -1;
    int16_t sample = 0;
    std::memcpy(&sample, data_ + at, sizeof sample);
    return sample;
}

double SampleIter::BartlettWindow(int32_t frame, int32_t count) {
    return count < 2 ? 1.0 : 1.0 - std::fabs(2.0 * frame / (count - 1) - 1.0);
}
