#include "app/HeardRecordings.h"

#include "demo/PlayerOnBus.h"
#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"
#include "platform/run/HostTime.h"
#include "platform/run/UserDefaults.h"
#include "support/MadeAudio.h"

#include <QDir>
#include <gtest/gtest.h>

TEST(HeardRecordings, ARecordingGetsTheTitleThatAPlayerToldMeanwhile) {
    PrivateDesktop desktop(QDir::homePath());
    ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
    FingerprintFile file;
    HeardNames names(file, LibraryRows(), std::chrono::minutes(1));
    HeardRecordings recordings(names);
    PlayerOnBus player("real");
    const QString picture = makeFile("now.jpg", "of the tide");
    player.play({.title = "Tide",
                 .artist = "The Shore",
                 .album = {},
                 .milliseconds = 3000,
                 .cover = QUrl::fromLocalFile(picture)});
    const auto recorded = [&](int32_t songID, bool isToldBehindTheStop = false) {
        const uint64_t begin = AudioGetCurrentHostTime();
        recordings.setRecording(/*isRecording=*/true);
        waitUntil([] { return false; }, 1500); // the player answers
        const uint64_t end = AudioGetCurrentHostTime();
        if (isToldBehindTheStop)
            recordings.setRecording(/*isRecording=*/false);
        recordings.songWasRecorded(songID, begin + 1'000'000'000, end);
        recordings.setRecording(/*isRecording=*/false);
    };
    recorded(1);
    const Recognition name = names.nameOf(1, {}).value();
    EXPECT_EQ(name.artist + ": " + name.title, "The Shore: Tide");
    EXPECT_NE(name.cover.toLocalFile(), picture); // which the next song's may take
    EXPECT_TRUE(waitUntil([&] { return bytesOf(name.cover.toLocalFile()) == "of the tide"; }));

    player.stop();
    recorded(2);
    EXPECT_FALSE(names.nameOf(2, {})) << "told at the stop at the latest";
    player.play({.title = "Tide", .artist = "The Shore", .album = {}, .milliseconds = 3000});
    recorded(3, /*isToldBehindTheStop=*/true);
    EXPECT_TRUE(names.nameOf(3, {}));
    UserDefaults::standardUserDefaults().setBool(/*value=*/false, "IdentifyFromPlayers");
    recorded(4);
    EXPECT_FALSE(names.nameOf(4, {})) << "the user has switched them off";
}
