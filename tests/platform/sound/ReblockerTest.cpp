#include "platform/sound/Reblocker.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr uint64_t kStart = 5'000'000'000;

/// Frames numbered from 1: left n, right -n.
std::vector<float> numberedFrames(size_t count) {
    std::vector<float> frames;
    for (size_t i = 1; i <= count; ++i)
        for (const float sign : {1, -1})
            frames.push_back(sign * static_cast<float>(i));
    return frames;
}

struct Output {
    std::vector<float> frames;
    std::vector<uint64_t> times;
};

void feed(Reblocker &reblocker, const float *samples, size_t frames, uint64_t hostTime, Output &output) {
    reblocker.beginChunk(hostTime);
    for (size_t done = 0; done < frames;) {
        done += reblocker.take(samples ? samples + 2 * done : nullptr, frames - done);
        if (!reblocker.isFull())
            continue;
        const InputSlice slice = reblocker.slice();
        EXPECT_EQ(slice.frames, kBlockFrames);
        output.times.push_back(slice.hostTime);
        for (uint32_t i = 0; i < slice.frames; ++i)
            for (const float *channel : {slice.left, slice.right})
                output.frames.push_back(channel[i]);
    }
}

} // namespace

TEST(Reblocker, ChunkSizeNeverChangesTheSlices) {
    std::vector<float> input = numberedFrames(10 * kBlockFrames + 100);
    std::vector<float> expected(input.begin(), input.begin() + 10 * 2 * kBlockFrames);
    // What is no number becomes silence.
    for (const auto &[place, value] : {std::pair{7, NAN}, {8, INFINITY}, {9, -INFINITY}, {5000, -NAN}}) {
        input[place] = value;
        expected[place] = 0;
    }
    for (const size_t chunk : {1, 3, 7, 512, 997}) {
        SCOPED_TRACE(chunk);
        Reblocker reblocker;
        Output output;
        for (size_t done = 0; done < input.size() / 2; done += chunk)
            feed(reblocker, &input[2 * done], std::min(chunk, input.size() / 2 - done),
                 kStart + Reblocker::framesToNanos(done), output);
        EXPECT_EQ(output.frames, expected);
        for (size_t i = 0; i < output.times.size(); ++i)
            EXPECT_NEAR(static_cast<double>(output.times[i] - kStart), static_cast<double>(i) * kSecondsPerBlock * 1e9,
                        1000);
    }
}

// Chunks of a tenth of a second that arrive up to 40 ms late, then a stall of 3 s and all of it at once.
TEST(Reblocker, StampsRiseEvenlyWhateverTheArrivals) {
    Reblocker reblocker;
    Output output;
    const size_t chunk = 4410;
    for (uint64_t i = 0; i < 200; ++i) {
        const uint64_t late = i < 100 ? (i * 7 % 5) * 10'000'000 : i < 130 ? (130 - i) * 100'000'000 : 0;
        feed(reblocker, /*samples=*/nullptr, chunk, kStart + i * 100'000'000 + late, output);
    }
    for (size_t i = 1; i < output.times.size(); ++i)
        ASSERT_NEAR(static_cast<double>(output.times[i] - output.times[i - 1]), kSecondsPerBlock * 1e9, 117'000);
    EXPECT_NEAR(static_cast<double>(output.times.back() - kStart), 20e9, 20e6);
    EXPECT_EQ(output.frames, std::vector<float>(output.frames.size(), 0.0F));
}

TEST(Reblocker, AGapDropsTheBlockBegunAndStartsANewLine) {
    Reblocker reblocker;
    Output output;
    const std::vector<float> input = numberedFrames(kBlockFrames + 88);
    feed(reblocker, input.data(), 600, kStart, output);
    EXPECT_NEAR(static_cast<double>(reblocker.nextTime() - kStart), 600.0 / kSampleRate * 1e9, 1000);
    reblocker.reset();
    feed(reblocker, input.data(), kBlockFrames, kStart + 9'000'000'000, output);
    ASSERT_EQ(output.times.size(), 2U);
    EXPECT_EQ(output.times[1], kStart + 9'000'000'000);
    EXPECT_EQ(output.frames[2 * kBlockFrames], 1.0F);
}
