#include "platform/run/LocalizedString.h"

#include <gtest/gtest.h>

TEST(LocalizedString, GivesTheCatalogueSTextOrElseTheKey) {
    for (const auto &[key, text] : {
             std::pair{"Show in Finder", "Show in Files"},
             std::pair{"Add to iTunes", "Add to Playlist"},
             std::pair{"About %2$@", "About %1"},
             std::pair{"Do you want to move these items to the trash?                       ",
                       "Do you want to move these items to the Trash?"},
             std::pair{"Recording are being now,do you want to stop recording and quit?",
                       "Recording are being now,do you want to stop recording and quit?"},
             std::pair{"", ""},
         })
        EXPECT_EQ(localizedString(key), QString(text));
}
