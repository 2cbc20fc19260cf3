// A queue from one thread to another, without locks or, after its construction, allocation.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Holds up to `Capacity` elements. One thread pushes, one pops; neither ever waits.
///
/// An element is kept in the lowest place that is free, not in the next one of a ring. With a reader that keeps up, a
/// queue for seconds thus lives in a few pages of memory, which the caches hold.
template <typename T, size_t Capacity>
class SpscQueue {
    static_assert(Capacity <= 1U << 16, "places are counted with 16 bits");

public:
    /// Writing thread. A free element, as an earlier push left it, that endPush() hands over once it has been filled;
    /// null when the queue is full.
    T *beginPush() noexcept {
        for (place_ = 0; place_ < Capacity; ++place_)
            // acquire: the reader has finished with the element before it is filled again
            if (!isTaken_[place_].load(std::memory_order_acquire))
                return &elements_[place_];
        return nullptr;
    }
    void endPush() noexcept {
        const size_t written = written_.load(std::memory_order_relaxed);
        isTaken_[place_].store(true, std::memory_order_relaxed);
        order_[written % Capacity] = static_cast<uint16_t>(place_);
        // release: the element is whole before the reader may see it
        written_.store(written + 1, std::memory_order_release);
    }

    /// Reading thread. The oldest element, to be given back with pop(); null when the queue is empty.
    const T *front() const noexcept {
        const size_t read = read_.load(std::memory_order_relaxed);
        if (read == written_.load(std::memory_order_acquire))
            return nullptr;
        return &elements_[order_[read % Capacity]];
    }
    void pop() noexcept {
        const size_t read = read_.load(std::memory_order_relaxed);
        std::atomic<bool> &isTaken = isTaken_[order_[read % Capacity]];
        read_.store(read + 1, std::memory_order_relaxed);
        isTaken.store(false, std::memory_order_release);
    }

    /// Elements in the queue, to one of its two threads; the other may have taken or added some by now.
    size_t size() const noexcept {
        return written_.load(std::memory_order_relaxed) - read_.load(std::memory_order_relaxed);
    }

private:
    // What is looked at most comes first, so that it shares a cache line.
    std::vector<T> elements_ = std::vector<T>(Capacity);
    std::atomic<size_t> written_ = 0;                   // writing thread
    std::atomic<size_t> read_ = 0;                      // reading thread
    size_t place_ = 0;                                  // writing thread, between beginPush() and endPush()
    std::array<std::atomic<bool>, Capacity> isTaken_{}; // the writing thread takes, the reading one gives back
    std::array<uint16_t, Capacity> order_{};            // a ring of the places in use, the oldest at read_
};
