// Whoever has no mouse misses nothing.
#include "features/LibrarySession.h"
#include "support/Keyboard.h"
#include "support/MadeAudio.h"

#include <QFile>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

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

TEST_F(KeyboardAlone, QuitsInTheMidstOfAnImportThatHangs) {
    const QString first = makeTone("first.mp3", "-metadata title=First"), second = makeTone("second.mp3");
    // Whoever opens a leased file waits until the lease is given back.
    std::signal(SIGIO, SIG_IGN);
    const int leased = ::open(QFile::encodeName(second).constData(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(fcntl(leased, F_SETLEASE, F_WRLCK), 0);
    startProgram();
    pressKeys({"ctrl+2", "ctrl+o"});
    ASSERT_TRUE(focusTopmostOf(2));
    typeText('"' + first + "\" \"" + second + '"');
    pressKeys({"Return"});
    ASSERT_TRUE(waitUntil([this] { return program->count("fileType MP3 audio") == 1; }));
    ASSERT_TRUE(focusTopmostOf(2)); // the sheet
    ASSERT_TRUE(program->activateAction("quit"));
    EXPECT_TRUE(program->endsWell());
    EXPECT_EQ(titles(), "Anchor\nBell\nTrace\nFirst"); // what was read is kept
    ::close(leased);
}
