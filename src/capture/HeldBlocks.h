// Blocks that wait in memory while the main thread changes files.
//
// Threads: one at a time, the audio thread while the unit runs.
#pragma once

#include "platform/InputUnit.h"

#include <cstddef>
#include <vector>

/// A queue of whole blocks with room for six seconds, allocated once.
class HeldBlocks {
public:
    HeldBlocks() : blocks_(kCapacity) {}

    bool isEmpty() const noexcept { return count_ == 0; }
    bool isFull() const noexcept { return count_ == kCapacity; }

    /// Keeps a copy of `slice`, which has kBlockFrames frames. To be called only while the queue is not full.
    void push(const InputSlice &slice) noexcept {
        Block &block = blocks_[(first_ + count_) % kCapacity];
        block.hostTime = slice.hostTime;
        block.status = slice.status;
        block.hasSamples = slice.left && slice.right;
        if (block.hasSamples)
            block.samples.copyFrom(slice.left, slice.right);
        ++count_;
    }

    /// The oldest block, valid until the next push() after its pop().
    InputSlice front() const noexcept {
        const Block &block = blocks_[first_];
        return {block.hostTime, kBlockFrames, block.hasSamples ? block.samples.left.data() : nullptr,
                block.hasSamples ? block.samples.right.data() : nullptr, block.status};
    }
    void pop() noexcept {
        // An empty queue begins anew, so that the next hold finds its memory in the caches.
        first_ = --count_ == 0 ? 0 : (first_ + 1) % kCapacity;
    }
    void clear() noexcept { count_ = 0; }

private:
    static constexpr size_t kCapacity = 512; // 5.9 s, 2 MiB

    struct Block {
        uint64_t hostTime = 0;
        Status status = 0;
        bool hasSamples = false;
        SoundBlock samples;
    };
    std::vector<Block> blocks_;
    size_t first_ = 0;
    size_t count_ = 0;
};
