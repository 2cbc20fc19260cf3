#include "MadeClock.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

TEST(HostPace, KeepsTheSpacingAndBacksOff) {
    MadeClock clock;
    HostPace pace(clock);
    const auto turn = [&](const char *host, std::chrono::milliseconds spacing) {
        EXPECT_TRUE(pace.waitForTurn(QString::fromLatin1(host), spacing, {}));
        return clock.seconds();
    };
    EXPECT_EQ(turn("a", 1s), 0);
    EXPECT_EQ(turn("a", 1s), 1);
    EXPECT_EQ(turn("b", 333ms), 1) << "each host has a pace of its own";
    EXPECT_NEAR(turn("b", 333ms), 1.333, 1e-6);
    double before = turn("a", 1s);
    for (const double delay : {1, 2, 4, 8, 16, 32, 32}) {
        pace.wasRefused("a");
        const double now = turn("a", 1s);
        EXPECT_EQ(now - before, delay);
        before = now;
    }
    for (const double delay : {16, 8, 4, 2, 1, 1}) {
        pace.wasAnswered("a");
        turn("a", 1s); // by the spacing that held when the last one went out
        before = clock.seconds();
        EXPECT_EQ(turn("a", 1s) - before, delay);
    }
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(pace.waitForTurn("a", 1s, stop.get_token()));
}

TEST(HostPace, GivesEachOfSeveralThreadsATurnOfItsOwn) {
    MadeClock clock;
    HostPace pace(clock);
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 25; ++turn)
                pace.waitForTurn("a", 1s, {});
        });
    threads.clear();
    EXPECT_EQ(clock.seconds(), 99);
}

} // namespace
