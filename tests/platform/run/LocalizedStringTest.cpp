#include "platform/run/LocalizedString.h"

#include <gtest/gtest.h>

TEST(LocalizedString, GivesTheCatalogueSTextOrElseTheKey) {
    for (const auto &[key, text] : {
             std::pair{"Show in Finder", "Show in Files"},
             std::pair{"About %2$@", "About %1"},
             std::pair{"Do you want to move these items to the trash?                       ",
                       "Do you want to move these items to the Trash?"},
             std::pair{"No such text", "No such text"},
         })
        EXPECT_EQ(localizedString(key), QString(text));
}
