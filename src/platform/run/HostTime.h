// The monotonic clock that stamps audio. Its ticks are nanoseconds.
//
// Threads: any, the audio thread included.
#pragma once

#include <cstdint>
#include <ctime>

inline uint64_t AudioGetCurrentHostTime() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000u + static_cast<uint64_t>(now.tv_nsec);
}

inline uint64_t AudioConvertHostTimeToNanos(uint64_t hostTime) noexcept { return hostTime; }
