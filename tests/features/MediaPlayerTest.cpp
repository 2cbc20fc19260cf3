// The program as the desktop's media player, asked by the client that users have.
#include "features/LibrarySession.h"
#include "support/Keyboard.h"
#include "support/OtherProgram.h"

namespace {

class MediaPlayer : public LibrarySession {
protected:
    static std::string playerctl(const QStringList &arguments) {
        return outputOf("playerctl", QStringList{"-p", "Corvidia"} + arguments);
    }
    static bool answers(const QStringList &question, const std::string &answer) {
        return waitUntil([&] { return playerctl(question) == answer; });
    }
    static double position() { return std::stod("0" + playerctl({"position"})); }
};

} // namespace

TEST_F(MediaPlayer, PlaysTheLibraryForTheDesktop) {
    startProgram();
    pressKeys({"ctrl+2", "ctrl+f", "Tab", "Tab", "Tab", "Tab", "Down"});
    const QStringList what{"metadata", "--format", "{{status}} {{title}} {{artist}}"};
    const auto nowPlays = [&](const char *title) {
        return answers(what, std::string("Playing ") + title + " The Shore");
    };
    ASSERT_TRUE(answers({"status"}, "Stopped"));
    playerctl({"play-pause"});
    EXPECT_TRUE(nowPlays("Anchor")) << playerctl(what);
    EXPECT_TRUE(isHeard(kAnchorHertz));

    playerctl({"next"});
    EXPECT_TRUE(nowPlays("Bell")) << playerctl(what);
    EXPECT_TRUE(isHeard(kBellHertz));
    playerctl({"position", "30"});
    EXPECT_TRUE(waitUntil([] { return position() >= 30; }));
    playerctl({"position", "25-"});
    EXPECT_TRUE(waitUntil([] { return position() < 30; }));
    EXPECT_TRUE(isHeard(kBellHertz));

    const double loud = loudness();
    playerctl({"volume", "0.1"});
    EXPECT_TRUE(waitUntil([&] { return loudness() < loud / 3; })) << loud;
    EXPECT_EQ(playerctl({"volume"}), "0.100000");

    playerctl({"position", "0"}); // further in, the track itself would begin again
    playerctl({"previous"});
    EXPECT_TRUE(nowPlays("Anchor")) << playerctl(what);
    EXPECT_TRUE(isHeard(kAnchorHertz));
    playerctl({"pause"});
    EXPECT_TRUE(answers({"status"}, "Paused"));
    EXPECT_TRUE(isHeard(0));
    playerctl({"play"});
    EXPECT_TRUE(nowPlays("Anchor")) << playerctl(what);
    playerctl({"play-pause"});
    EXPECT_TRUE(answers({"status"}, "Paused"));
    playerctl({"stop"});
    EXPECT_TRUE(answers({"status"}, "Stopped"));
}
