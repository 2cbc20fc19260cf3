// The spectrum feed: turns the blocks that the engine hands out into bars, about ten times a second. It has no effect
// on any file.
//
// Threads: TransAudioDataToPCMProc() on "Trans-Thread", everything else on the main thread. They share the pool, the
// list of its blocks in use, and the bars last finished.
#pragma once

#include "capture/AudioRecord.h"
#include "capture/CSampleTransform.h"
#include "platform/run/MainThread.h"
#include "platform/run/Semaphore.h"

#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

class AudioTransToPCMWaveDelegate {
public:
    static constexpr int kBars = 20;

    /// Main thread. The heights of all bars, from 0 to about 1500; valid during the call.
    virtual void sendAudioSpectrum(const int32_t *bars) = 0;

protected:
    ~AudioTransToPCMWaveDelegate() = default;
};

class AudioTransToPCMWave final : public AudioPCMWaveDelegate {
public:
    AudioTransToPCMWave();
    ~AudioTransToPCMWave();
    AudioTransToPCMWave(const AudioTransToPCMWave &) = delete;
    AudioTransToPCMWave &operator=(const AudioTransToPCMWave &) = delete;

    void setDelegate(AudioTransToPCMWaveDelegate *delegate) { delegate_ = delegate; }
    AudioTransToPCMWaveDelegate *delegate() const { return delegate_; }

    /// Copies one block and hands it to the worker. Never waits: a block that finds the pool empty is dropped.
    void sendAudioDataProc(const float *left, const float *forRightData, uint32_t forNumer) override;

    /// Blocks of the pool that are free now, of 10. Any thread.
    int freeFrames() const noexcept;

    /// One sample as 16 bits: times 32767 and cut toward zero, without limits, so that what is beyond full scale wraps
    /// around. Any thread.
    static int16_t wrappedToS16(float sample) noexcept;

private:
    static constexpr uint32_t AUDIOFRAMENUMBER = kBlockFrames;

    /// One block on its way to the worker.
    struct audioFrameMemery {
        std::array<float, AUDIOFRAMENUMBER> LbufferData{};
        std::array<float, AUDIOFRAMENUMBER> rbufferData{};
        // The main thread takes, the worker gives back. Acquire and release: the samples have been copied out before
        // they are written again.
        std::atomic<bool> isEmpty = true;
    };

    audioFrameMemery *getAudioFrameMem();
    static void realseAudioFrameMem(audioFrameMemery &block);
    void TransAudioDataToPCMProc();
    bool takeQueuedBlock();
    void transformTakenBlock();
    void sendPCMDataArrayThreadProc();

    AudioTransToPCMWaveDelegate *delegate_ = nullptr;
    std::mutex TransCondition_; // guards AudioTransList_
    std::vector<audioFrameMemery *> AudioTransList_;
    Semaphore hasBlocks_;
    std::atomic<bool> blStopThread_ = false; // main thread
    std::array<audioFrameMemery, kDisplayBlocks> AudioFrameMemlist_;

    // Worker only.
    audioFrameMemery FrameTransWaveMem_; // its isEmpty is false while a block awaits conversion
    std::array<int16_t, 2UL * AUDIOFRAMENUMBER> AudioFrameMem_{}; // left, right, left, ...
    CSampleTransform sampleTransform_;
    std::array<int32_t, AudioTransToPCMWaveDelegate::kBars> aryIntValue_{};

    // The bars last finished, by the worker. A mix of two results would be no harm.
    std::array<std::atomic<int32_t>, AudioTransToPCMWaveDelegate::kBars> copyAryInt_{};
    MainThreadWakeup hop_{[this] { sendPCMDataArrayThreadProc(); }};
    std::thread TransThreadone_;
};
