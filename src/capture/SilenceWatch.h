// How silent blocks become time, for the engine and for its tests.
#pragma once

#include "platform/sound/AudioTypes.h"

/// Seconds of `blocks` blocks.
inline float secondsOfBlocks(int64_t blocks) noexcept { return static_cast<float>(blocks * kSecondsPerBlock); }

/// True when `silentBlocks` last longer than `interval` milliseconds: 26 blocks for 300, 87 for 1000.
inline bool isSplitDue(int32_t silentBlocks, int64_t interval) noexcept {
    return 1000.0f * secondsOfBlocks(silentBlocks) > static_cast<float>(interval);
}
