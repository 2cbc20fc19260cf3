// Whoever does not see the window hears what is in it, and does everything there.
#include "support/ScreenReader.h"
#include "features/LibrarySession.h"

namespace {
class WithScreenReader : public LibrarySession {};
} // namespace

TEST_F(WithScreenReader, RecordsFindsPlaysAndDeletes) {
    ScreenReader reader;
    startProgram();
    EXPECT_FALSE(reader.find("frame", "Tessarine Corvidia").path.isEmpty());
    ASSERT_TRUE(reader.act("push button", "Record", "Press"));
    ASSERT_TRUE(program->hearsSound(2));
    playTone();
    ASSERT_TRUE(reader.act("push button", "Stop", "Press"));
    ASSERT_TRUE(waitUntil([] { return titles() == "Anchor\nBell\nTrace\nTrack1"; })) << titles();

    ASSERT_TRUE(reader.act("page tab", "Library", "Press"));
    EXPECT_TRUE(waitUntil([&] { return reader.isSelected(reader.find("page tab", "Library")); }));
    ASSERT_TRUE(reader.act("tree item", "All Music, 4", "Toggle"));
    const ScreenReader::Object tracks = reader.find("table", "Tracks");
    ASSERT_TRUE(waitUntil([&] { return reader.countOfRows(tracks) == 4; }));
    // A choice that is taken away comes back.
    ASSERT_TRUE(reader.act("tree item", "All Music, 4", "Toggle"));
    EXPECT_TRUE(waitUntil([&] { return reader.isSelected(reader.find("tree item", "All Music, 4")); }));

    ASSERT_TRUE(reader.write("Search", "tra"));
    ASSERT_TRUE(waitUntil([&] { return reader.countOfRows(tracks) == 2; }));
    EXPECT_EQ(reader.nameOf(reader.cell(tracks, 0, 1)), "Track1");
    EXPECT_EQ(reader.nameOf(reader.cell(tracks, 1, 1)), "Trace");
    EXPECT_TRUE(reader.isSelected(reader.cell(tracks, 0, 1)));
    ASSERT_TRUE(reader.act("push button", "Play", "Press"));
    EXPECT_TRUE(isHeard(kPlayedHertz));
    EXPECT_EQ(reader.nameOf(reader.cell(tracks, 0, 0)), "Playing");

    // That ends the search, and the keyboard is in the list then, where Delete means tracks.
    ASSERT_TRUE(reader.act("menu item", "Show Playing Track", "Press"));
    ASSERT_TRUE(reader.act("menu item", "Delete", "Press"));
    ASSERT_TRUE(reader.act("push button", "Delete", "Press"));
    EXPECT_TRUE(waitUntil([] { return titles() == "Anchor\nBell\nTrace"; })) << titles();
    EXPECT_EQ(trash(), QStringList("Track1_Unknown Artist.m4a"));
    EXPECT_TRUE(waitUntil([&] { return reader.countOfRows(tracks) == 3; }));
    EXPECT_TRUE(isHeard(0));
}
