#include "app/CorvidiaAppDelegate.h"

#include "capture/CaptureDevice.h"
#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "platform/desktop/Panel.h"
#include "platform/files/Folders.h"
#include "platform/media/Av.h"
#include "platform/run/UserDefaults.h"
#include "store/LibraryFile.h"
#include "support/FakeInputUnit.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"
#include "support/Songs.h"
#include "views/controls/SketchButton.h"
#include "views/window/StatusLine.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
struct MainWindow : testing::Test {
    MainWindow() { qputenv("PULSE_SERVER", "unix:/nowhere"); }
    void SetUp() override {
        setPanelAnswerer([this](const Panel &panel) {
            asked << panel.message;
            texts << panel.text;
            if (meanwhile)
                meanwhile(panel);
            return PanelAnswer{answers.isEmpty() ? 0 : answers.takeFirst(), false};
        });
        umask(0);
        ASSERT_TRUE(CorvidiaAppDelegate::initialize());
    }
    /// The program up to its first idle moment.
    void launch() {
        delegate = std::make_unique<CorvidiaAppDelegate>(units.factory());
        delegate->applicationDidFinishLaunching();
        QCoreApplication::processEvents();
    }
    MainWindowCtr &window() { return delegate->mainWindow(); }
    QString recordButton() { return window().window().recordingBtn()->accessibleName(); }
    bool canCut() { return window().window().cutBtn()->isEnabled(); }

    QStringList asked, texts;
    QList<int> answers;
    std::function<void(const Panel &)> meanwhile; ///< happens while a question stands
    FakeInputUnits units;
    std::unique_ptr<CorvidiaAppDelegate> delegate;
};

struct MainWindowWithSound : MainWindow {
    void SetUp() override {
        ASSERT_TRUE(server.start()) << qPrintable(server.errorText());
        MainWindow::SetUp();
    }
    PrivateSoundServer server{PrivateSoundServer::Kind::PulseAudio, QDir::homePath()};
};
} // namespace

TEST_F(MainWindow, MakesItsFoldersAndCountsItsLaunches) {
    const UserDefaults &defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.integerForKey("RateLaunchTimes"), 1);
    EXPECT_TRUE(QFile::exists(defaultMusicFolder()));
    EXPECT_TRUE(QFile::exists(coverImageFolder()));
    EXPECT_FALSE(QFile::permissions(coverImageFolder()) & (QFile::WriteGroup | QFile::WriteOther));
    ASSERT_TRUE(CorvidiaAppDelegate::initialize());
    EXPECT_EQ(defaults.integerForKey("RateLaunchTimes"), 2);
    // Without room for the covers the launch goes on, and is not counted.
    ASSERT_TRUE(QDir(coverImageFolder()).removeRecursively());
    ASSERT_TRUE(QFile::remove(applicationSupportFolder()) || QDir(applicationSupportFolder()).removeRecursively());
    ASSERT_TRUE(QFile(applicationSupportFolder()).open(QIODevice::WriteOnly));
    ASSERT_TRUE(CorvidiaAppDelegate::initialize());
    EXPECT_EQ(defaults.integerForKey("RateLaunchTimes"), 2);
}

TEST_F(MainWindow, OffersTheCaptureDeviceAndTellsThatThereIsNoSoundServer) {
    launch();
    window().recorder();
    EXPECT_EQ(asked, QStringList({"Install Recording Extra", "Install failed!"}));
    EXPECT_FALSE(window().isRecording());
    window().mainWindowWillClose();
    EXPECT_EQ(av_log_get_level(), AV_LOG_INFO); // as libav begins
}

TEST_F(MainWindow, StaysPressedAfterAFolderThatMayNotBeWritten) {
    ASSERT_EQ(chmod(QFile::encodeName(QDir::homePath()).constData(), 0777), 0);
    const QString folder = QDir::homePath() + "/read-only";
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0555), 0);
    UserDefaults::standardUserDefaults().setObject(folder, "MusicsOutputLocation");
    launch();
    if (getuid() == 0) { // who may write everywhere
        ASSERT_EQ(setreuid(65534, 0), 0);
    }
    window().recorder();
    EXPECT_EQ(asked,
              QStringList{"You do not have the privilege to save files here, please select another one.\n " + folder});
    EXPECT_TRUE(window().isRecording());
    EXPECT_FALSE(canCut());
    window().recorder(); // takes the way of a stop
    EXPECT_EQ(asked.size(), 1);
    EXPECT_FALSE(window().isRecording());
}

TEST_F(MainWindow, SetsALibraryAsideThatItCannotRead) {
    const std::string bytes = "these are not the bytes of a database, but somebody may want them back";
    makeFile(defaultLibraryPath(), bytes);
    launch();
    EXPECT_TRUE(waitUntil([this] { return asked == QStringList{"A new library was begun"}; }));
    window().recordedFileDidFail("/a.m4a", "full"); // three news of one cause
    window().recordingDidFail("/b.m4a", "full");
    window().recordingDidFail("/b.m4a", "full");
    window().recordedFileDidFail("/c.m4a", "full");
    EXPECT_TRUE(waitUntil([this] { return asked.size() > 1; }));
    EXPECT_FALSE(waitUntil([this] { return asked.size() > 2; }, 500));
    EXPECT_EQ(texts.last().count("can't be written"), 3);
    EXPECT_EQ(asked.last(), "A recording could not be finished");
    const auto stopped = texts.last().indexOf("The recording was stopped\n\nb.m4a");
    EXPECT_GT(stopped, texts.last().indexOf("c.m4a"));
    const QRect screen = window().window().screen()->availableGeometry();
    EXPECT_LT((window().window().frameGeometry().center() - screen.center()).manhattanLength(), 6);
    EXPECT_EQ(libraryStateOf(defaultLibraryPath()), LibraryState::Readable);
    const QStringList kept = QDir(applicationSupportFolder()).entryList({"Library (unreadable*.db"});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(bytesOf(applicationSupportFolder() + '/' + kept.first()), bytes);
}

TEST_F(MainWindow, TellsOfALibraryOnAFullDiskAndBeginsItWhenThereIsRoom) {
    makeFile(defaultLibraryPath(), ""); // as a full disk leaves it
    withoutRoom([this] { launch(); });
    EXPECT_TRUE(waitUntil([this] { return asked == QStringList{"The library can't be opened"}; }));
    delegate.reset();
    launch();
    EXPECT_FALSE(waitUntil([this] { return asked.size() > 1; }, 500));
    EXPECT_EQ(libraryStateOf(defaultLibraryPath()), LibraryState::Readable);
}

TEST_F(MainWindow, TellsOnceInARunWhyATitleIsMissing) {
    const SongPtr song = songWith({.title = "Song", .path = makeTone("a %1.mp3", "-b:a 256k", /*seconds=*/5)});
    const std::string group("ID3\3\0\0\0\0\0\xfTIT2\0\0\0\5\0\x20\x81\0Old", 25); // would be lost
    for (const char *reason : {"The disk is full.", "Other tags in it would be lost."}) {
        launch();
        asked.clear();
        const auto record = [&] {
            withoutRoom([&] { window().recordedSongItem(song, DeviceType::SystemAudio); }, 100'000);
        };
        record();
        EXPECT_TRUE(waitUntil([this] { return asked == QStringList{"A recording has no title in its file"}; }));
        EXPECT_EQ(texts.last(), QString("a %1.mp3 can't be given its tags. What was recorded is kept.\n\n") + reason);
        record();
        EXPECT_FALSE(waitUntil([this] { return asked.size() > 1; }, 500));
        makeFile("a %1.mp3", group + bytesOf(song->songPath()).substr(0, 50'000));
        delegate.reset();
    }
}

TEST_F(MainWindowWithSound, BeginsNothingBehindAQuestionThatItDidNotAnswer) {
    launch();
    meanwhile = [this](const Panel &) { window().recorder(); };
    answers = {1};
    window().recorder();
    EXPECT_EQ(asked, QStringList{"Install Recording Extra"});
    EXPECT_FALSE(window().isRecording());
    EXPECT_EQ(recordButton(), "Record") << "declined, it goes back to rest";
    meanwhile = [this](const Panel &panel) {
        if (panel.message == "Install successed!")
            delegate->terminateNow();
    };
    window().recorder();
    EXPECT_FALSE(window().isRecording());
    EXPECT_FALSE(isLaunchedRequiredAudioDevice(kCaptureDeviceClass));
    EXPECT_EQ(QDir(defaultMusicFolder()).entryList(QDir::Files), QStringList());
}

TEST_F(MainWindowWithSound, RecordsCutsAsksBeforeItQuitsAndKeepsTheOpenFile) {
    launch();
    window().recorder(); // installs first
    EXPECT_EQ(asked, QStringList({"Install Recording Extra", "Install successed!"}));
    ASSERT_TRUE(window().isRecording());
    EXPECT_EQ(recordButton(), "Stop");
    EXPECT_TRUE(canCut());
    EXPECT_NE(units.initializedFor.back(), 0u);
    UserDefaults::standardUserDefaults().setInteger(1, "AutoFilterTimeInterval");
    UserDefaults::standardUserDefaults().setBool(/*value=*/false,
                                                 "MusicFilesAutoGetID3"); // which would take the status line

    BlockFeed feed(*units.client);
    const auto play = [&] {
        feed.tones(130);
        QCoreApplication::processEvents();
    };
    play();
    delegate->activateAction("cut");
    play();
    EXPECT_TRUE(window().window().lblStatus()->status().startsWith("1 track, 1 second, "));
    window().window().close(); // hides; the recording goes on
    EXPECT_FALSE(window().window().isVisible());
    EXPECT_TRUE(window().isRecording());
    delegate->activate();
    EXPECT_TRUE(window().window().isVisible());

    asked.clear();
    answers = {1};
    meanwhile = [this](const Panel &) { delegate->terminate(); };
    delegate->terminate();
    meanwhile = {};
    EXPECT_EQ(asked, QStringList{"Recording are being now,do you want to stop recording and quit?"});
    EXPECT_TRUE(window().isRecording());
    delegate->activateAction("quit");
    EXPECT_FALSE(window().isRecording());
    EXPECT_TRUE(window().window().close()); // a window that stays would keep the program
    EXPECT_EQ(asked.size(), 1);
    EXPECT_EQ(QDir(defaultMusicFolder()).entryList(QDir::Files).size(), 2);
}
