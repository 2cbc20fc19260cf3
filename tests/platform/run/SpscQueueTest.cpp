#include "platform/run/SpscQueue.h"

#include "platform/sound/AudioTypes.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {
bool pushNumbered(SpscQueue<SoundBlock, 8> &queue, int number) {
    SoundBlock *block = queue.beginPush();
    if (!block)
        return false;
    block->left.fill(static_cast<float>(number));
    block->right.fill(static_cast<float>(-number));
    queue.endPush();
    return true;
}
} // namespace

TEST(SpscQueue, RefusesWhatItHasNoPlaceForAndTakesTheLowestPlaceThatIsFree) {
    const auto queue = std::make_unique<SpscQueue<SoundBlock, 8>>();
    EXPECT_EQ(queue->front(), nullptr);
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(pushNumbered(*queue, i));
    EXPECT_FALSE(pushNumbered(*queue, 8));
    EXPECT_EQ(queue->size(), 8u);
    const SoundBlock *lowest = queue->front();
    while (queue->front())
        queue->pop();
    EXPECT_TRUE(pushNumbered(*queue, 9));
    EXPECT_EQ(queue->front(), lowest);
    EXPECT_EQ(queue->front()->right.back(), -9.0f);
}

TEST(SpscQueue, KeepsTheOrderBetweenTwoThreads) {
    constexpr int kBlocks = 5000;
    const auto queue = std::make_unique<SpscQueue<SoundBlock, 8>>();
    std::thread writer([&] {
        for (int i = 0; i < kBlocks;)
            i += pushNumbered(*queue, i);
    });
    int mixedUp = 0;
    for (int i = 0; i < kBlocks;) {
        if (const SoundBlock *block = queue->front()) {
            mixedUp += block->left.front() != static_cast<float>(i) || block->right.back() != static_cast<float>(-i);
            queue->pop();
            ++i;
        }
    }
    writer.join();
    EXPECT_EQ(mixedUp, 0);
}
