#include "platform/run/TerminationSignals.h"

#include <gtest/gtest.h>
#include <unistd.h>

TEST(EndProcessWithin, EndsWhatWouldNotEndByItself) {
    const auto hang = [] {
        endProcessWithin(std::chrono::milliseconds(1), /*status=*/7);
        for (;;)
            pause();
    };
    EXPECT_EXIT(hang(), testing::ExitedWithCode(7), "");
}
