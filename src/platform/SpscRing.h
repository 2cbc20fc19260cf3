// A queue of fixed size from one thread to one other, without locks or allocation.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

/// Holds up to `Capacity` (a power of two) elements. One thread calls push(), one other pop(); neither ever waits.
template <typename T, size_t Capacity>
class SpscRing {
    static_assert((Capacity & (Capacity - 1)) == 0, "the index is cut with a mask");

public:
    /// Writing thread. False, and nothing stored, when the ring is full.
    bool push(const T &element) noexcept {
        T *slot = beginPush();
        if (!slot)
            return false;
        *slot = element;
        endPush();
        return true;
    }

    /// Writing thread. The slot that the next endPush() hands over, to be filled in place; null when the ring is full.
    T *beginPush() noexcept {
        const size_t written = written_.load(std::memory_order_relaxed);
        // acquire: the reader has finished with the slot before it is filled again
        if (written - read_.load(std::memory_order_acquire) == Capacity)
            return nullptr;
        return &slots_[written & (Capacity - 1)];
    }
    void endPush() noexcept {
        // release: the element is whole before the reader may see it
        written_.store(written_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

    /// Reading thread. The oldest element, to be given back with pop(); null when the ring is empty.
    const T *front() const noexcept {
        const size_t read = read_.load(std::memory_order_relaxed);
        if (read == written_.load(std::memory_order_acquire))
            return nullptr;
        return &slots_[read & (Capacity - 1)];
    }
    void pop() noexcept { read_.store(read_.load(std::memory_order_relaxed) + 1, std::memory_order_release); }

    /// Writing thread. Elements in the ring; the reader may have taken some of them by now.
    size_t size() const noexcept {
        return written_.load(std::memory_order_relaxed) - read_.load(std::memory_order_relaxed);
    }

private:
    alignas(64) std::atomic<size_t> written_ = 0; // writing thread
    std::array<T, Capacity> slots_{};
    alignas(64) std::atomic<size_t> read_ = 0; // reading thread
};
