// Cuts a stream of interleaved stereo frames into slices of kBlockFrames frames with separate channels.
//
// Threads: one at a time; in the program the audio thread. Never allocates.
#pragma once

#include "platform/sound/InputUnit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

/// The size of the chunks that come in never changes the samples that go out.
///
/// Stamps: sound servers deliver in bursts, so the arrival of a chunk tells the time of its frames only to some tens
/// of milliseconds. The stamps therefore run on a line of their own, one block length per block, that leans towards
/// the arrivals by at most a hundredth of a block length per block: they rise evenly, 11.61 ms +-1 % apart, settle on
/// the median of the arrivals, and follow a device clock that drifts.
class Reblocker {
public:
    /// Tells when the first frame of the next chunk was played, nanoseconds, as far as its arrival shows.
    void beginChunk(uint64_t hostTime) noexcept {
        if (!started_) {
            started_ = true;
            blockTime_ = hostTime;
        }
        lean_ = static_cast<int64_t>(hostTime - nextTime());
    }

    /// Takes frames until the block is full and answers how many it took. A null `interleaved` stands for silence;
    /// samples that are no numbers or infinite become silence, too.
    size_t take(const float *interleaved, size_t frames) noexcept {
        const size_t taken = std::min(frames, kBlockFrames - filled_);
        for (size_t i = 0; i < taken; ++i) {
            left_[filled_ + i] = interleaved ? finiteOrSilent(interleaved[2 * i]) : 0.0F;
            right_[filled_ + i] = interleaved ? finiteOrSilent(interleaved[2 * i + 1]) : 0.0F;
        }
        filled_ += taken;
        return taken;
    }

    bool isFull() const noexcept { return filled_ == kBlockFrames; }

    /// The full block; its samples stay until the next take().
    InputSlice slice() noexcept {
        const InputSlice result{blockTime_, kBlockFrames, left_.data(), right_.data(), 0};
        const int64_t step = std::clamp<int64_t>(lean_, -kBlockNanos / 100, kBlockNanos / 100);
        lean_ -= step;
        blockTime_ += static_cast<uint64_t>(kBlockNanos + step);
        filled_ = 0;
        return result;
    }

    /// Forgets a block begun and the line of time: what comes next does not join what came before.
    void reset() noexcept {
        filled_ = 0;
        started_ = false;
    }

    bool isStarted() const noexcept { return started_; }

    /// Time of the next frame to be taken. Meaningful once a chunk has begun.
    uint64_t nextTime() const noexcept { return blockTime_ + framesToNanos(filled_); }

    static uint64_t framesToNanos(uint64_t frames) noexcept { return frames * 1'000'000'000U / kSampleRate; }

private:
    /// By the exponent's bits, without a branch: the loop around it stays one over vectors.
    static float finiteOrSilent(float sample) noexcept {
        constexpr uint32_t kExponent = 0x7F800000;
        const auto bits = std::bit_cast<uint32_t>(sample);
        return std::bit_cast<float>((bits & kExponent) == kExponent ? 0U : bits);
    }

    static constexpr int64_t kBlockNanos = int64_t{kBlockFrames} * 1'000'000'000 / kSampleRate;

    std::array<float, kBlockFrames> left_{};
    std::array<float, kBlockFrames> right_{};
    size_t filled_ = 0;
    bool started_ = false;
    uint64_t blockTime_ = 0; // of the block being filled
    int64_t lean_ = 0;       // how much later than the line the arrivals are
};
