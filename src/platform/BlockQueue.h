// A queue of blocks of sound from one thread to one other, without locks or, after its construction, allocation.
#pragma once

#include "platform/AudioTypes.h"
#include "platform/SpscRing.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <vector>

/// Both channels of one block.
struct SoundBlock {
    std::array<float, kBlockFrames> left{}, right{};
};

/// Holds up to `Capacity` (a power of two) blocks. One thread calls push(), one other front() and pop(); neither ever
/// waits.
///
/// A block is kept in the lowest place that is free, not in the next one of a ring. With a reader that keeps up, a
/// queue for seconds thus lives in a few pages of memory, which the caches hold.
template <size_t Capacity>
class BlockQueue {
public:
    /// Writing thread. Copies kBlockFrames samples of each channel. False, and nothing stored, when the queue is full.
    bool push(const float *left, const float *right) noexcept {
        for (size_t place = 0; place < Capacity; ++place) {
            // acquire: the reader has finished with the block before it is filled again
            if (isTaken_[place].load(std::memory_order_acquire))
                continue;
            isTaken_[place].store(true, std::memory_order_relaxed);
            std::copy_n(left, kBlockFrames, blocks_[place].left.begin());
            std::copy_n(right, kBlockFrames, blocks_[place].right.begin());
            return order_.push(place); // as long as the places
        }
        return false;
    }

    /// Reading thread. The oldest block, to be given back with pop(); null when the queue is empty.
    const SoundBlock *front() const noexcept {
        const size_t *place = order_.front();
        return place ? &blocks_[*place] : nullptr;
    }
    void pop() noexcept {
        const size_t place = *order_.front();
        order_.pop();
        isTaken_[place].store(false, std::memory_order_release);
    }

    /// Writing thread. Blocks in the queue; the reader may have taken some of them by now.
    size_t size() const noexcept { return order_.size(); }

private:
    std::vector<SoundBlock> blocks_ = std::vector<SoundBlock>(Capacity);
    std::array<std::atomic<bool>, Capacity> isTaken_{}; // the writing thread takes, the reading one gives back
    SpscRing<size_t, Capacity> order_;
};
