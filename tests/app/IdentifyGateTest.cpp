// The way of a track to identification and back, through the program's own window, list and queue.
#include "app/IdentifyGate.h"

#include "app/CorvidiaAppDelegate.h"
#include "demo/RunningProgram.h"
#include "platform/desktop/Panel.h"
#include "platform/run/UserDefaults.h"
#include "support/FakeInputUnit.h"
#include "support/FakeRecogniser.h"
#include "support/Gestures.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"
#include "support/Songs.h"
#include "views/library/TagField.h"
#include "views/window/StatusLine.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {

struct Gate : testing::Test {
    void SetUp() override {
        qputenv("PULSE_SERVER", "unix:/nowhere");
        setPanelAnswerer([this](const Panel &panel) {
            asked << panel.message;
            return PanelAnswer{0, suppresses};
        });
        ASSERT_TRUE(CorvidiaAppDelegate::initialize());
        window.emplace(units.factory());
        window->changeView(MainTab::Library);
        window->libraryCtr().categoryViewCtr().selectRow(2);
    }
    void bringUp() {
        ID3TagControl::setDefaultManager(recogniser);
        gate().initGetID3Ctr();
        waitUntil([] { return GetMusicID3Controller::isExistobject(); });
        QCoreApplication::processEvents();
    }
    /// In the library, not of this run.
    SongPtr add(qint64 length = 20'000) {
        SongPtr song = inserted(songWith({.title = "Track 1", .path = makeTone("Track 1.mp3"), .length = length}));
        window->libraryCtr().takeTracks(TrackLists(SongArray{song}));
        return song;
    }
    static bool reaches(const SongPtr &song, ID3Status status) {
        return waitUntil([&] { return song->getID3Status() == static_cast<int>(status); });
    }
    IdentifyGate &gate() { return window->identifyGate(); }
    QString status() { return window->window().lblStatus()->status(); }
    QPushButton &button(const QString &title) { return buttonOf(*gate().warningNetworkWnd(), title); }

    const KeptLog log;
    QStringList asked;
    bool suppresses = false;
    FakeInputUnits units;
    std::shared_ptr<FakeRecogniser> recogniser = std::make_shared<FakeRecogniser>();
    std::optional<MainWindowCtr> window;
};

const QVariantMap kFound{{"MusicTitle", "Hill"}, {"AlbumArtist", "Band"}};

} // namespace

TEST_F(Gate, NamesARecordingByItself) {
    bringUp();
    std::atomic<bool> isAskedInSight = false;
    recogniser->otherwise = [&](auto &hearer, const auto &task, const auto &stop) {
        EXPECT_EQ(task.milliseconds, 60'123);
        isAskedInSight.wait(false);
        FakeRecogniser::saying({kFound})(hearer, task, stop);
    };
    QStringList lines;
    const SongPtr song = inserted(songWith({.title = "Track 1", .path = makeTone("Track 1.mp3"), .length = 60'123}));
    window->recordedSongItem(song, DeviceType::SystemAudio);
    EXPECT_EQ(song->getID3Status(), static_cast<int>(ID3Status::Waiting));
    EXPECT_TRUE(waitUntil([&] {
        if (!lines.contains(status()))
            lines << status();
        isAskedInSight = isAskedInSight || status().startsWith("Looking");
        isAskedInSight.notify_one();
        if (gate().isGettingID3())
            window->displayStatus("not now");
        return song->getID3Status() == static_cast<int>(ID3Status::Identified);
    }));
    EXPECT_EQ(song->songPath(), inHome("Hill_Band.mp3"));
    EXPECT_TRUE(lines.contains("Looking up track names…")) << qPrintable(lines.join('|'));
    EXPECT_FALSE(lines.contains("not now"));
    QCoreApplication::processEvents();
    EXPECT_TRUE(status().startsWith("1 track"));
    // Neither where the user does not want it, nor from a microphone.
    UserDefaults::standardUserDefaults().setBool(/*value=*/false, "MusicFilesAutoGetID3");
    song->setGetID3Status(0);
    window->recordedSongItem(song, DeviceType::SystemAudio);
    UserDefaults::standardUserDefaults().removeObjectForKey("MusicFilesAutoGetID3");
    window->recordedSongItem(song, DeviceType::Microphone);
    EXPECT_EQ(song->getID3Status(), 0);
}

TEST_F(Gate, SpeaksOfShortTracksWhoseNamesTheUserAsksFor) {
    bringUp();
    recogniser->otherwise = FakeRecogniser::saying({kFound});
    for (const auto &[name, length, isMutableGet, warns, status, alerts] : {
             std::tuple<const char *, qint64, bool, bool, ID3Status, qsizetype>{"long enough", 20'000, false, true,
                                                                                ID3Status::Identified, 0},
             {"too short", 19'999, false, true, ID3Status::NotFound, 1},
             {"not told again", 19'999, false, false, ID3Status::NotFound, 0},
             {"one of many", 19'999, true, true, ID3Status::Waiting, 0},
         }) {
        SCOPED_TRACE(name);
        asked.clear();
        suppresses = true;
        UserDefaults::standardUserDefaults().setBool(warns, "SHowWarningLess20S");
        const SongPtr song = add(length);
        gate().getID3WithSongItems({song}, isMutableGet);
        EXPECT_TRUE(reaches(song, status));
        EXPECT_EQ(asked.size(), alerts);
        EXPECT_EQ(UserDefaults::standardUserDefaults().boolForKey("SHowWarningLess20S"), warns && !alerts);
    }
}

TEST_F(Gate, AsksForAnotherTryWhileNobodyCanBeAsked) {
    gate().initGetID3Ctr();
    window->window().show();
    const SongPtr song = add();
    ID3ViewCtr &editor = window->libraryCtr().editCtr().id3ViewCtr();
    editor.setSongItem(song);
    editor.field("artist")->insert("Typed");
    const auto isOpen = [this] { return gate().warningNetworkWnd() != nullptr; };
    const auto ask = [&] {
        EXPECT_TRUE(waitUntil([&] {
            gate().getID3WithSongItem(song);
            return isOpen();
        }));
    };
    ask();
    EXPECT_EQ(song->getID3Status(), 3); // asked for while the queue was on its way
    EXPECT_TRUE(song->artist().contains("Typed"));
    song->setGetID3Status(0);
    button("Cancel").click();
    EXPECT_TRUE(waitUntil([&] { return !isOpen(); }));
    EXPECT_EQ(song->getID3Status(), 0);
    ask();
    button("Try Again").click();
    EXPECT_FALSE(button("Try Again").isEnabled());
    EXPECT_TRUE(waitUntil([&] { return button("Try Again").isEnabled(); }));
    ID3TagControl::setDefaultManager(recogniser);
    recogniser->otherwise = FakeRecogniser::saying({kFound});
    button("Try Again").click();
    EXPECT_TRUE(reaches(song, ID3Status::Identified));
    EXPECT_FALSE(isOpen());
    // All sources turned off again: a recording is left alone.
    recogniser->usable = false;
    song->setGetID3Status(0);
    window->recordedSongItem(song, DeviceType::SystemAudio);
    EXPECT_EQ(song->getID3Status(), 0);
    ask();
}

TEST_F(Gate, EndsWhatIsInHandWithTheProgramAndWithItsTrack) {
    bringUp();
    recogniser->otherwise = FakeRecogniser::hang;
    const SongPtr song = add();
    gate().getID3WithSongItem(song);
    ASSERT_TRUE(reaches(song, ID3Status::Searching));
    window->libraryCtr().listViewCtr().tableView()->selectRowIndexes({0});
    window->libraryCtr().listViewCtr().deleteSongItem();
    EXPECT_TRUE(waitUntil([this] { return !gate().isGettingID3(); }));
    const SongPtr next = add();
    gate().getID3WithSongItem(next);
    ASSERT_TRUE(reaches(next, ID3Status::Searching));
    window->mainWindowWillClose();
    EXPECT_EQ(next->getID3Status(), 0); // can be asked for again
    EXPECT_TRUE(GetMusicID3Controller::waitForWorkers(std::chrono::milliseconds(0)));
}
