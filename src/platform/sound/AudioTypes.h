// The numbers and small records that everything about audio shares.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

/// Frames of one block, the unit of all capture timing: 512 / 44100 s = 11.61 ms.
inline constexpr uint32_t kBlockFrames = 512;
/// Hertz. Every recording is made at this rate.
inline constexpr int kSampleRate = 44100;
inline constexpr double kSecondsPerBlock = 0.011609977324263039;
inline constexpr uint64_t kBlockNanoseconds = 11'609'977;

/// Both channels of one block.
struct SoundBlock {
    std::array<float, kBlockFrames> left{}, right{};

    /// From kBlockFrames samples each.
    void copyFrom(const float *fromLeft, const float *fromRight) noexcept {
        std::copy_n(fromLeft, kBlockFrames, left.begin());
        std::copy_n(fromRight, kBlockFrames, right.begin());
    }
};

/// Names a capture device; 0 is none.
using DeviceID = uint32_t;

/// 0 is success; anything else is the code of whoever failed.
using Status = int32_t;

/// Container of a recording. Other stored numbers name no container, and no file is opened for them.
enum class ExportType : int32_t { M4A = 0, MP3 = 1 };
