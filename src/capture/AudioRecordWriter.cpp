// "Thread-MP3": takes blocks out of the pool, converts them to 16 bits and encodes them.
#include "capture/AudioRecord.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr int kIdleSleepMilliseconds = 100;
constexpr int kSleepWithoutFileMilliseconds = 900; // the opening of a file ends it
} // namespace

int16_t AudioRecord::flt32toS16(float sample) noexcept {
    const double value = sample;
    if (value >= 1.0)
        return 32767;
    if (value <= -1.0)
        return -32768;
    return std::isnan(value) ? int16_t{0} : static_cast<int16_t>(value * 32768.0);
}

void AudioRecord::writeMP3Data() {
    while (blStopThread_.load(std::memory_order_relaxed)) {
        if (!takeQueuedBlock())
            mp3Hurry_.waitAtMost(outputMP3AudioFile_.load(std::memory_order_relaxed) ? kIdleSleepMilliseconds
                                                                                     : kSleepWithoutFileMilliseconds);
        encodeTakenBlock();
    }
}

bool AudioRecord::takeQueuedBlock() {
    audioDataMemery *block = nullptr;
    {
        // No longer than it takes to unlink the block: the audio thread may be waiting.
        const std::lock_guard guard(mp3Condition_);
        if (mp3WriteList_.empty())
            return false;
        block = mp3WriteList_.front();
        mp3WriteList_.erase(mp3WriteList_.begin());
    }
    mp3WriteMem_.LbufferData = block->LbufferData;
    mp3WriteMem_.rbufferData = block->rbufferData;
    mp3WriteMem_.isEmpty.store(false, std::memory_order_relaxed);
    realseAudioFrame(block);
    return true;
}

void AudioRecord::realseAudioFrame(audioDataMemery *block) noexcept {
    block->isEmpty.store(true, std::memory_order_release);
}

int AudioRecord::freeMP3Blocks() const noexcept {
    return static_cast<int>(std::count_if(mp3AudioMemlist_.begin(), mp3AudioMemlist_.end(), [](const auto &block) {
        return block.isEmpty.load(std::memory_order_relaxed);
    }));
}

void AudioRecord::encodeTakenBlock() {
    if (mp3WriteMem_.isEmpty.load(std::memory_order_relaxed))
        return;
    for (uint32_t i = 0; i < kBlockFrames; ++i) {
        mp3FrameMem_[2 * i] = flt32toS16(mp3WriteMem_.LbufferData[i]);
        mp3FrameMem_[2 * i + 1] = flt32toS16(mp3WriteMem_.rbufferData[i]);
    }
    mp3WriteMem_.isEmpty.store(true, std::memory_order_relaxed);
    const std::lock_guard guard(closeFileCondition_);
    // Blocks that were still queued when their file closed reach no file.
    FCHandle file = outputMP3AudioFile_.load(std::memory_order_relaxed);
    const FCFrameRecord frame{mp3FrameMem_.data(), static_cast<int32_t>(sizeof mp3FrameMem_)};
    const int error = file ? FCWriteAudioData(file, frame) : kFCFrameRefused;
    if (error == kFCFrameRefused)
        lostMP3Blocks_.fetch_add(1, std::memory_order_relaxed);
    else if (error != 0)
        mp3Error_.store(error, std::memory_order_relaxed);
    mp3Pending_.fetch_sub(1, std::memory_order_release);
}
