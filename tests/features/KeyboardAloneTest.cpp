// Whoever has no mouse misses nothing.
#include "features/LibrarySession.h"
#include "support/Keyboard.h"

namespace {
class KeyboardAlone : public LibrarySession {};
} // namespace

TEST_F(KeyboardAlone, RecordsFindsPlaysAndDeletes) {
    startProgram();
    pressKeys({"ctrl+r"});
    ASSERT_TRUE(program->hearsSound(2));
    playTone();
    pressKeys({"ctrl+r"});
    ASSERT_TRUE(waitUntil([] { return titles() == "Anchor\nBell\nTrace\nTrack1"; })) << titles();

    // Over the tabs and the menu into the tree, down to all music, and back: two titles begin alike, the newer one
    // stands above the other and is selected. Behind the tree come the covers, then the list.
    const QStringList toTree{"Tab", "Tab", "Tab", "Tab"};
    pressKeys(QStringList{"ctrl+2", "ctrl+f"} + toTree + QStringList{"Down", "ctrl+f"});
    typeText("tra");
    pressKeys(toTree + QStringList{"Tab", "Tab", "Return"});
    EXPECT_TRUE(isHeard(kPlayedHertz));

    pressKeys({"Delete"});
    ASSERT_TRUE(focusTopmostOf(2));
    pressKeys({"Return"});
    EXPECT_TRUE(waitUntil([] { return titles() == "Anchor\nBell\nTrace"; })) << titles();
    EXPECT_EQ(trash(), QStringList("Track1_Unknown Artist.m4a"));
    EXPECT_TRUE(isHeard(0));

    ASSERT_TRUE(focusTopmostOf(1));
    pressKeys({"ctrl+q"});
    EXPECT_TRUE(program->endsWell());
}
