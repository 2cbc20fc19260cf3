#include "platform/run/LocalizedString.h"

#include <gtest/gtest.h>

TEST(LocalizedString, GivesTheCatalogueSTextOrElseTheKey) {
    EXPECT_EQ(localizedString("About %2$@"), "About %1");
    EXPECT_EQ(localizedString("No such text"), "No such text");
}
