// Walks through the samples of a piece of PCM sound.
//
// Threads: one at a time.
#pragma once

#include <cstdint>

enum class WorkChannel { Left = 0, Right = 1, Single = 2, Both = 3 };

class SampleIter {
public:
    /// Which sample of a frame GetSample() gives: Right the second one, all others the first.
    void SetWorkChannel(WorkChannel channel) { workChannel_ = channel; }
    /// Takes `size` bytes of `data`, which stay the caller's, and sets the channel to Both for stereo and to Single
    /// else. The position stays. False, and nothing taken, without data or with less than a byte per sample.
    bool SetSampleWorkSet(const void *data, int32_t size, int32_t bytesPerSample, bool isStereo);

    /// In frames.
    void SetPos(int32_t frame);
    int32_t GetPos() const;
    int32_t Count() const;
    /// Goes on by one frame.
    void Advance();

    /// The sample at the position. -1 where there is none, and with a width other than one byte or two.
    int32_t GetSample() const;

    /// The triangular window over `count` frames, 0 at its ends and 1 in the middle. The bars are made without it.
    static double BartlettWindow(int32_t frame, int32_t count);

private:
    int64_t bytesPerFrame() const { return int64_t{bytesPerSample_} * (isStereo_ ? 2 : 1); }

    WorkChannel workChannel_ = WorkChannel::Both;
    const uint8_t *data_ = nullptr;
    int32_t size_ = 0; // bytes, as is the position
    int32_t bytesPerSample_ = 0;
    bool isStereo_ = false;
    int64_t position_ = 0;
};
