#include "capture/RecordViewCtr.h"

#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "platform/files/Folders.h"
#include "platform/media/Av.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "store/LibraryFile.h"
#include "support/FakeInputUnit.h"
#include "support/NoRoomOnDisk.h"
#include "views/window/ReadyStatusPanel.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTimer>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

namespace {
constexpr DeviceID kDevice = 3;
constexpr int kBlocksOfASecond = 87;
// Blocks are fed as fast as they can be, and an M4A file takes in under six seconds before it has to encode.
constexpr int kBlocksOfATrack = 5 * kBlocksOfASecond + 10;

struct MainWindow final : RecordViewCtrDelegate {
    QList<std::shared_ptr<SongItem>> songs;
    int shown = 0, tracks = 0;
    QStringList failures, finishFailures;
    std::function<void()> whileItIsFinished = [] {};

    uint64_t lasted = 0; // nanoseconds that the last song was heard
    void recordedSongDidLast(const SongItem &, uint64_t from, uint64_t to) override { lasted = to - from; }
    void recordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType) override {
        songs << song;
        std::exchange(whileItIsFinished, [] {})();
    }
    void recordedFileDidFail(const QString &path, const QString &) override { finishFailures << path; }
    void showRecordView() override { ++shown; }
    int recordTracksNum() const override { return tracks; }
    void setRecordTracksNum(int count) override { tracks = count; }
    void recordingDidFail(const QString &path, const QString &) override { failures << path; }
};

struct Scene final : RecordAnimationDelegate {
    QStringList moves;
    void startMicrophoneAnimation() override { moves << "+mic"; }
    void stopMicrophoneAnimation() override { moves << "-mic"; }
    void startNoteAnimation() override { moves << "+notes"; }
    void stopNoteAnimation() override { moves << "-notes"; }
    void startCoverAnimation() override { moves << "+cover"; }
    void stopCoverAnimation() override { moves << "-cover"; }
};

struct RecordViewCtrTest : testing::Test {
    void SetUp() override {
        qputenv("PULSE_SERVER", "unix:/nowhere"); // the session is driven by hand here
        ASSERT_TRUE(QDir().mkpath(coverImageFolder()));
        defaults.registerDefaults({{"MusicsOutputLocation", QDir::homePath() + "/Rekorder \"ü\" 音"},
                                   {"AutoSplitMusic", true},
                                   {"AutoSplitTimeInterval", 300},
                                   {"AutoFilterMusic", true},
                                   {"AutoFilterTimeInterval", 5},
                                   {"DefaultExportFileType", 0},
                                   {"DefaultERecordQualityType", 3}});
        ASSERT_TRUE(QDir().mkpath(folder()));
        session = std::make_unique<RecordViewCtr>(units.factory(), page, box);
        session->setDelegate(&window);
        session->setAnimationdelegate(&scene);
    }
    void TearDown() override {
        session.reset();
        DataBaseManager::defaultManager().closeDataBase();
    }

    QString folder() const { return defaults.stringForKey("MusicsOutputLocation"); }
    QStringList files() const { return QDir(folder()).entryList(QDir::Files, QDir::Name); }
    void start(ExportType type = ExportType::M4A, DeviceType device = DeviceType::SystemAudio) {
        session->startRecordingFile(type, /*forQualityType=*/3, device, kDevice);
        feed = std::make_unique<BlockFeed>(*units.client);
    }
    /// Blocks of sound, each followed by the main thread's turn.
    void tone(int blocks) {
        play(blocks, [this] { feed->tone(); });
    }
    void silence(int blocks) {
        play(blocks, [this] { feed->silence(); });
    }
    QString status() const { return box.status(); }

    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    RecordingPage page{/*parent=*/nullptr};
    DisplayBox box{/*parent=*/nullptr};
    FakeInputUnits units;
    MainWindow window;
    Scene scene;
    std::unique_ptr<RecordViewCtr> session;
    std::unique_ptr<BlockFeed> feed;
    QEventLoop loop;

private:
    void play(int blocks, const std::function<void()> &feedBlock) {
        for (int i = 0; i < blocks; ++i) {
            feedBlock();
            // The engine looks for its reports only now and then by itself.
            static_cast<AudioRecord *>(units.client)->deliverReports();
            QCoreApplication::processEvents();
        }
    }
};
} // namespace

TEST_F(RecordViewCtrTest, KeepsATrackAndGivesItItsNumber) {
    // The library holds one, but was locked when the program started.
    SongItem earlier;
    DataBaseManager &library = DataBaseManager::defaultManager();
    ASSERT_TRUE(library.insertSongItem(earlier) == 1 && library.closeDataBase());
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(defaultLibraryPath()).constData(), &other), SQLITE_OK);
    sqlite3_exec(other, "PRAGMA journal_mode=DELETE; BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    ASSERT_TRUE(library.loadDataBase());
    sqlite3_close(other);
    start();
    EXPECT_EQ(defaults.integerForKey("TrackID"), 2); // from nothing: the first is Track1
    EXPECT_EQ(status(), "Ready");
    tone(kBlocksOfATrack);
    EXPECT_TRUE(status().startsWith("Rec"));
    EXPECT_EQ(box.lblRecordTime()->stringValue(), "00:05  ");
    EXPECT_EQ(window.shown, 1);
    session->stopRecordingFile();
    EXPECT_EQ(status(), "");

    ASSERT_EQ(window.songs.size(), 1);
    const SongItem &song = *window.songs[0];
    EXPECT_EQ(window.lasted, kBlocksOfATrack * kBlockNanoseconds);
    EXPECT_EQ(song.songID(), 2);
    EXPECT_EQ(song.title(), "Track1");
    EXPECT_EQ(song.songPath(), folder() + "/Track1_Unknown Artist.m4a");
    EXPECT_EQ(song.length(), 5000);
    EXPECT_EQ(song.size(), QFileInfo(song.songPath()).size());
    EXPECT_EQ(window.tracks, 1);
    EXPECT_EQ(session->imageFlowViewCtr().countSongItem(), 1);
    const auto stored = library.getAllSongItems();
    ASSERT_TRUE(stored && stored->size() == 2);
    EXPECT_EQ(stored->back()->songPath(), song.songPath());
    EXPECT_EQ(scene.moves.first(), "+mic");
    EXPECT_TRUE(scene.moves.contains("+notes"));
    EXPECT_EQ(scene.moves.mid(scene.moves.size() - 4), QStringList({"+cover", "-cover", "-notes", "-mic"}));
    av_max_alloc(1'000); // as the guard against counts that lie would limit a recording of days
    session->notifyRecordedFinish(song.songPath());
    EXPECT_EQ(window.songs.size(), 2);
    // Deleted elsewhere in the program, it leaves the strip too.
    NotificationCenter::defaultCenter().postNotification("HasDeleteSongItemNotification", window.songs);
    EXPECT_EQ(session->imageFlowViewCtr().countSongItem(), 0);
    NotificationCenter::defaultCenter().postNotification("HasRestoreSongItemNotification", window.songs);
    EXPECT_EQ(session->imageFlowViewCtr().countSongItem(), 2);
}

TEST_F(RecordViewCtrTest, TracksWithoutARowAreNotTakenForEachOther) {
    ASSERT_TRUE(QDir().mkpath(defaultLibraryPath())); // which can't be opened then
    for (int i = 0; i < 2; ++i) {
        start();
        tone(kBlocksOfATrack);
        session->stopRecordingFile();
    }
    ASSERT_EQ(window.songs.size(), 2);
    EXPECT_LT(window.songs[0]->songID(), 0);
    EXPECT_LT(window.songs[1]->songID(), window.songs[0]->songID());
}

TEST_F(RecordViewCtrTest, DropsWhatIsTooShortAndGivesItsNumberBack) {
    for (const auto &[name, device, isFiltering, blocks, isKept] : {
             std::tuple<const char *, DeviceType, bool, int, bool>{"below the limit", DeviceType::SystemAudio, true,
                                                                   3 * kBlocksOfASecond, false},
             {"4.9 s count as 4", DeviceType::SystemAudio, true, 422, false},
             {"5 s stay", DeviceType::SystemAudio, true, kBlocksOfATrack, true},
             {"another device is not filtered", DeviceType::Microphone, true, 3 * kBlocksOfASecond, true},
             {"the filter is off", DeviceType::SystemAudio, false, 3 * kBlocksOfASecond, true},
             {"half a second is the least anywhere", DeviceType::Microphone, false, 35, false},
             {"no sound at all", DeviceType::SystemAudio, false, 0, false},
         }) {
        SCOPED_TRACE(name);
        defaults.setBool(isFiltering, "AutoFilterMusic");
        const qint64 before = defaults.integerForKey("TrackID");
        const qsizetype kept = window.songs.size();
        start(ExportType::M4A, device);
        tone(blocks);
        session->stopRecordingFile();
        EXPECT_EQ(window.songs.size() - kept, isKept ? 1 : 0);
        // From nothing the first number is 1, and a drop steps back to it.
        EXPECT_EQ(defaults.integerForKey("TrackID"), std::max<qint64>(before, 1) + (isKept ? 1 : 0));
        if (isKept) {
            EXPECT_EQ(window.songs.last()->getID3Status(), device == DeviceType::Microphone ? 3 : 0);
        }
    }
    EXPECT_EQ(files().size(), window.songs.size());
}

TEST_F(RecordViewCtrTest, CutsAtAGapAndTakesTheFormatThatIsWantedNow) {
    defaults.setInteger(2, "AutoFilterTimeInterval");
    start();
    tone(3 * kBlocksOfASecond);
    silence(25);
    EXPECT_TRUE(window.songs.isEmpty());
    defaults.setInteger(1, "DefaultExportFileType");
    silence(1);
    ASSERT_EQ(window.songs.size(), 1);
    EXPECT_EQ(status(), "Ready");
    silence(300); // the rest of the gap belongs to no file
    for (int i = 0; i < 6 * kBlocksOfASecond; ++i) {
        tone(1);
        if (i % 10 == 0)
            usleep(5000); // time for the encoder, which drops what comes too fast; a third of it is enough here
    }
    session->inciseRecordingFile(); // by hand
    session->stopRecordingFile();
    EXPECT_EQ(files(), QStringList({"Track1_Unknown Artist.m4a", "Track2_Unknown Artist.mp3"}));
    session->inciseRecordingFile(); // nothing runs: nothing happens
    EXPECT_EQ(window.songs.size(), 2);

    defaults.setBool(/*value=*/false, "AutoSplitMusic");
    start();
    tone(kBlocksOfASecond);
    silence(4 * kBlocksOfASecond);
    EXPECT_TRUE(status().startsWith("Rec")); // silence is part of the recording now
    session->stopRecordingFile();
    EXPECT_EQ(window.songs.size(), 3);
    EXPECT_EQ(window.songs.last()->length(), 5000);
}

TEST_F(RecordViewCtrTest, StandsAnEventLoopWhileATrackIsBeingFinished) {
    // Whether it is cut or stopped, what a panel that opens there lets in, and the lengths of the tracks after one more
    // stop.
    using Case = std::tuple<const char *, bool, std::function<void()>, QList<qint64>>;
    const auto play = [this] { tone(2 * kBlocksOfASecond); };
    defaults.setInteger(1, "AutoFilterTimeInterval");
    for (const auto &[name, cuts, meanwhile, lengths] : {
             Case{"sound in a cut", true, play, {3000, 4000}},
             Case{"a stop in a cut", true, [&] { play(), session->stopRecordingFile(); }, {3000, 2000}},
             Case{"a cut in a cut", true, [&] { play(), session->inciseRecordingFile(); }, {3000, 2000, 2000}},
             Case{"a new recording in a cut",
                  true,
                  [&] { play(), session->stopRecordingFile(), start(); },
                  {3000, 2000, 2000}},
             Case{"sound in a stop", false, play, {3000}},
             Case{"a cut in a stop", false, [&] { session->inciseRecordingFile(), play(); }, {3000}},
             Case{"a new recording in a stop", false, [&] { start(), play(); }, {3000, 4000}},
         }) {
        SCOPED_TRACE(name);
        window.songs.clear();
        start();
        tone(3 * kBlocksOfASecond);
        window.whileItIsFinished = [&, meanwhile = meanwhile] {
            QTimer::singleShot(0, &loop, [&] { meanwhile(), loop.quit(); });
            loop.exec();
        };
        cuts ? session->inciseRecordingFile() : session->stopRecordingFile();
        tone(2 * kBlocksOfASecond);
        session->stopRecordingFile();
        QList<qint64> kept;
        for (const auto &song : window.songs)
            kept << song->length();
        EXPECT_EQ(kept, lengths);
        EXPECT_EQ(window.songs.last()->title(), QString("Track%1").arg(defaults.integerForKey("TrackID") - 1));
        EXPECT_EQ(status(), "");
    }
}

TEST_F(RecordViewCtrTest, FinishesAFileAsWhatItWasOpenedAs) {
    start(ExportType::M4A, DeviceType::Microphone);
    tone(3 * kBlocksOfASecond);
    NotificationCenter::defaultCenter().postNotification(
        "PluginInstallNotification");  // ends the file, for its own unit
    ASSERT_EQ(window.songs.size(), 1); // by the rules of a microphone
    session->stopRecordingFile();
    start();
    defaults.setInteger(50, "TrackID");
    session->stopRecordingFile();
    EXPECT_EQ(defaults.integerForKey("TrackID"), 50); // its number was no longer the last
}

TEST_F(RecordViewCtrTest, AFileThatCannotBeFinishedEndsNothingElse) {
    start();
    tone(kBlocksOfATrack);
    for (const int track : {1, 2}) // in the way of the files that are to become the plain ones
        ASSERT_TRUE(QDir().mkpath(folder() + QString("/Track%1_Unknown Artist.m4a.part").arg(track)));
    session->inciseRecordingFile();
    tone(kBlocksOfATrack);
    EXPECT_EQ(window.finishFailures.size(), 1);
    EXPECT_TRUE(status().startsWith("Rec"));
    session->stopRecordingFile();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.finishFailures.size(), 2); // told after a stop as well
    EXPECT_TRUE(window.failures.isEmpty());
    EXPECT_EQ(window.songs.size(), 2);
}

TEST_F(RecordViewCtrTest, FindsAFreeNameAndAFolder) {
    const auto touch = [this](const QString &name) { QFile(folder() + '/' + name).open(QIODevice::WriteOnly); };
    defaults.setInteger(7, "TrackID");
    touch("Track7_Unknown Artist.m4a");
    touch("Track7_Unknown Artist(1).m4a");
    start();
    session->stopRecordingFile();
    start();
    EXPECT_TRUE(files().contains("Track7_Unknown Artist(2).m4a"));
    session->stopRecordingFile();

    QDir(folder()).removeRecursively();
    start();
    EXPECT_EQ(folder(), defaultMusicFolder());
    EXPECT_EQ(files(), QStringList{"Track7_Unknown Artist.m4a"});
    session->stopRecordingFile();
}

TEST_F(RecordViewCtrTest, TellsWhatItIsDoingBlockByBlock) {
    session->changedRecordingStatus(RecordingStatus::Recording);
    NotificationCenter::defaultCenter().postNotification("PluginUninstallNotification");
    EXPECT_EQ(status(), "Rec..."); // there may be reports that have not been shown
    EXPECT_TRUE(waitUntil([this] { return status().isEmpty(); }));

    start();
    using Case = std::tuple<bool, bool, qint64, const char *>;
    for (const auto &[isNull, splits, inFile, text] :
         {Case{true, true, 0, "Ready"}, Case{false, true, 0, "Rec"}, Case{true, true, 299, "Rec"},
          Case{true, true, 300, "Ready"}, Case{true, false, 0, "Ready"}, Case{true, false, 1, "Rec"}}) {
        defaults.setBool(splits, "AutoSplitMusic");
        session->nullAudioSignal(isNull, inFile, /*forNullCount=*/0);
        EXPECT_TRUE(status().startsWith(text)) << isNull << splits << inFile;
    }
}

TEST_F(RecordViewCtrTest, TheBarsShowWhatIsHeardWhileTheyAreSeen) {
    const SpectrumView &view = *box.spectrumView();
    const auto height = [&](size_t column) { return view.energyLeftArray()[19 - column].energy(); };
    const auto isFlat = [&] {
        return std::all_of(view.energyLeftArray().begin(), view.energyLeftArray().end(),
                           [](const SpectrumItem &item) { return item.energy() == 0; });
    };
    std::array<int32_t, 20> bars{0, 83, 84, 1333, 1334, 1500, 100'000};
    start();
    session->sendAudioSpectrum(bars.data());
    tone(20);
    EXPECT_TRUE(isFlat()) << "nobody sees them";
    box.show();
    box.showPlayPanel(/*isShown=*/false);
    session->sendAudioSpectrum(bars.data());
    for (const auto &[column, energy] : {std::pair{0, 0U}, {1, 0U}, {2, 1U}, {3, 15U}, {4, 16U}, {5, 16U}, {6, 16U}})
        EXPECT_EQ(height(static_cast<size_t>(column)), energy);
    box.showPlayPanel(/*isShown=*/true);
    EXPECT_TRUE(isFlat());
    box.showPlayPanel(/*isShown=*/false);
    tone(9);
    EXPECT_TRUE(waitUntil([&] { return !isFlat(); }));
    EXPECT_TRUE(waitUntil(isFlat)) << "no sound comes any more";
}

TEST_F(RecordViewCtrTest, LeavesAServerAloneThatAppearsBeforeAnybodyAgreedToTheDevice) {
    PrivateSoundServer server(PrivateSoundServer::Kind::PulseAudio, QDir::homePath());
    waitUntil([] { return false; }, 100);
    ASSERT_TRUE(server.start()) << qPrintable(server.errorText());
    ASSERT_TRUE(waitUntil([] { return SoundServer::defaultServer().sources().has_value(); }));
    waitUntil([] { return false; }, 300);
    const QByteArray modules = server.control({"list", "short", "modules"});
    EXPECT_FALSE(modules.isEmpty());
    EXPECT_FALSE(modules.contains("remap"));
}

TEST_F(RecordViewCtrTest, StopsAndTellsOnceWhenTheFileCannotBeWritten) {
    QDir(folder()).removeRecursively();
    ASSERT_TRUE(QFile(folder()).open(QIODevice::WriteOnly)); // a file where the folder was
    start();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.failures.size(), 1);
    EXPECT_EQ(status(), "");
    // A folder without room keeps nothing of the attempt.
    ASSERT_TRUE(QFile::remove(folder()) && QDir().mkpath(folder()));
    withoutRoom([this] {
        start();
        QCoreApplication::processEvents();
    });
    EXPECT_EQ(window.failures.size(), 2);
    EXPECT_EQ(files(), QStringList());
}
