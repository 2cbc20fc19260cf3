#include "capture/AudioTransToPCMWave.h"

#include "platform/run/Log.h"

#include <algorithm>
#include <cmath>
#include <pthread.h>

namespace {
constexpr int kBars = AudioTransToPCMWaveDelegate::kBars;
constexpr WaveInfo_s kWaveInfo; // what AudioFrameMem_ holds
constexpr double kFullScale = 32767;
} // namespace

AudioTransToPCMWave::AudioTransToPCMWave() : sampleTransform_(&kWaveInfo, kBars) {
    AudioTransList_.reserve(AudioFrameMemlist_.size());
    TransThreadone_ = std::thread([this] { TransAudioDataToPCMProc(); });
    pthread_setname_np(TransThreadone_.native_handle(), "Trans-Thread");
}

AudioTransToPCMWave::~AudioTransToPCMWave() {
    blStopThread_.store(true, std::memory_order_relaxed);
    hasBlocks_.post();
    TransThreadone_.join();
}

void AudioTransToPCMWave::sendAudioDataProc(const float *left, const float *forRightData, uint32_t forNumer) {
    if (forNumer != AUDIOFRAMENUMBER) {
        logLine("deal with spectrum nNumber != AUDIOFRAMENUMBER");
        return;
    }
    audioFrameMemery *block = getAudioFrameMem();
    if (!block)
        return;
    std::copy_n(left, AUDIOFRAMENUMBER, block->LbufferData.begin());
    std::copy_n(forRightData, AUDIOFRAMENUMBER, block->rbufferData.begin());
    {
        const std::lock_guard guard(TransCondition_);
        AudioTransList_.push_back(block);
    }
    hasBlocks_.post();
}

AudioTransToPCMWave::audioFrameMemery *AudioTransToPCMWave::getAudioFrameMem() {
    for (audioFrameMemery &block : AudioFrameMemlist_)
        if (block.isEmpty.load(std::memory_order_acquire)) {
            block.isEmpty.store(false, std::memory_order_relaxed);
            return &block;
        }
    return nullptr;
}

void AudioTransToPCMWave::realseAudioFrameMem(audioFrameMemery &block) {
    block.isEmpty.store(true, std::memory_order_release);
}

int AudioTransToPCMWave::freeFrames() const noexcept {
    return static_cast<int>(std::count_if(AudioFrameMemlist_.begin(), AudioFrameMemlist_.end(), [](const auto &block) {
        return block.isEmpty.load(std::memory_order_relaxed);
    }));
}

// The worker sleeps until blocks come: blocks come in bursts that nearly fill the pool, and a worker that looked for
// them only now and then would find it overrun; and while nothing is displayed it costs nothing.
void AudioTransToPCMWave::TransAudioDataToPCMProc() {
    while (!blStopThread_.load(std::memory_order_relaxed)) {
        if (takeQueuedBlock())
            transformTakenBlock();
        else
            hasBlocks_.wait();
    }
}

bool AudioTransToPCMWave::takeQueuedBlock() {
    const std::lock_guard guard(TransCondition_);
    if (AudioTransList_.empty())
        return false;
    audioFrameMemery &block = *AudioTransList_.front();
    FrameTransWaveMem_.LbufferData = block.LbufferData;
    FrameTransWaveMem_.rbufferData = block.rbufferData;
    FrameTransWaveMem_.isEmpty.store(false, std::memory_order_relaxed);
    realseAudioFrameMem(block);
    AudioTransList_.erase(AudioTransList_.begin());
    return true;
}

int16_t AudioTransToPCMWave::wrappedToS16(float sample) noexcept {
    const double scaled = static_cast<double>(sample) * kFullScale;
    // Beyond 32 bits there is nothing to wrap.
    return std::fabs(scaled) < 2147483648.0 ? static_cast<int16_t>(static_cast<int32_t>(scaled)) : int16_t{0};
}

void AudioTransToPCMWave::transformTakenBlock() {
    for (size_t i = 0; i < AUDIOFRAMENUMBER; ++i) {
        AudioFrameMem_[2 * i] = wrappedToS16(FrameTransWaveMem_.LbufferData[i]);
        AudioFrameMem_[2 * i + 1] = wrappedToS16(FrameTransWaveMem_.rbufferData[i]);
    }
    FrameTransWaveMem_.isEmpty.store(true, std::memory_order_relaxed);
    aryIntValue_.fill(0);
    if (!sampleTransform_.SampleTransBarvalue(AudioFrameMem_.data(), sizeof AudioFrameMem_, aryIntValue_.data(), kBars))
        return;
    for (size_t i = 0; i < kBars; ++i)
        copyAryInt_[i].store(aryIntValue_[i], std::memory_order_relaxed);
    hop_.signal();
}

void AudioTransToPCMWave::sendPCMDataArrayThreadProc() {
    std::array<int32_t, kBars> bars{};
    for (size_t i = 0; i < kBars; ++i)
        bars[i] = copyAryInt_[i].load(std::memory_order_relaxed);
    if (delegate_)
        delegate_->sendAudioSpectrum(bars.data());
}
