#include "identify/queue/GetMusicID3Controller.h"

#include "demo/RunningProgram.h"
#include "support/FakeRecogniser.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QThread>
#include <gtest/gtest.h>
#include <semaphore>

using namespace std::chrono_literals;

namespace {

constexpr auto kSoon = 250ms; // a time-out that is waited for
const QVariantMap kSong{{"MusicTitle", "T"}, {"AlbumArtist", "A"}, {"AlbumTitle", "L"}};
const FakeRecogniser::Answer kFound = FakeRecogniser::saying({kSong});

/// Silence in 16 bits, made here: ThreadSanitizer takes no notice of a thread's locks any more once that has started
/// another program.
std::string wavOf(int seconds) {
    const auto word = [](uint32_t value, int bytes) {
        return std::string(reinterpret_cast<const char *>(&value), bytes);
    };
    const uint32_t size = seconds * 44100 * 2;
    return "RIFF" + word(size + 36, 4) + "WAVEfmt " + word(16, 4) + word(1, 2) + word(1, 2) + word(44100, 4) +
           word(88200, 4) + word(2, 2) + word(16, 2) + "data" + word(size, 4) + std::string(size, '\0');
}

struct Covers final : GetImageController {
    using Answer = std::function<void(GetImageControllerDelegate &, int32_t)>;
    void getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &) override {
        lastWanted = wanted;
        answer(*delegate(), forSongID);
    }
    static void none(GetImageControllerDelegate &hearer, int32_t songID) {
        hearer.getCoverImageError({{"SongID", songID}});
    }
    static void two(GetImageControllerDelegate &hearer, int32_t songID) {
        hearer.getCoverImageInfo({{"SongID", songID}, {"ResultAry", QStringList{"/a", "/b"}}});
    }
    Answer answer = two;
    QVariantList lastWanted; // read once the task is over
};

struct Queue : testing::Test, GetMusicID3ControllerDelegate {
    void SetUp() override {
        EXPECT_FALSE(GetMusicID3Controller::defaultManager()); // nobody to ask yet
        EXPECT_FALSE(GetMusicID3Controller::isExistobject());
        ID3TagControl::setDefaultManager(recogniser);
        GetImageController::setDefaultManager(covers);
        queue = GetMusicID3Controller::defaultManager();
        ASSERT_TRUE(queue);
        queue->setDelegate(this);
        queue->setPatience({.task = 60s, .unusableTrack = 1ms});
    }
    void TearDown() override {
        queue->stop();
        EXPECT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
        queue->setDelegate(nullptr);
    }
    void getID3DidBegin(int32_t songID) override { hear("begin", songID); }
    void getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex) override {
        EXPECT_EQ(info["MusicTitle"], "T");
        hear("tags", RecorderIndex);
    }
    void getID3DidFailWithError(int32_t songID) override { hear("failed", songID); }
    void getCoverImageDidFinish(const QStringList &paths, int32_t RecorderIndex) override {
        hear(paths.join(""), RecorderIndex);
    }
    void getCoverImageDidFailWithError(int32_t songID) override { hear("uncovered", songID); }
    void NotifyGetID3ThreadWillExit() override {
        ++exits;
        EXPECT_NE(QThread::currentThread(), qApp->thread());
    }
    void hear(const QString &word, int32_t songID) {
        EXPECT_EQ(QThread::currentThread(), qApp->thread());
        heard << word + QString::number(songID);
        open[songID] = word == "begin" ? open[songID] + 1 : word == "tags" ? open[songID] : 0;
        EXPECT_LE(open[songID], 1); // one last word for each beginning
    }

    void add(const QList<int32_t> &songIDs, const QString &path = track(), int fileTime = 20) {
        QList<QVariantMap> tasks;
        for (const int32_t songID : songIDs)
            tasks << QVariantMap{{"Path", path}, {"SongID", songID}, {"FileTime", fileTime}, {"Length", 20'345}};
        queue->addMusicsWantedID3Path(tasks);
    }
    static const QString &track() {
        static const QString path = makeFile("track.wav", wavOf(1));
        return path;
    }
    bool hears(const QString &word, qsizetype times = 1) {
        return waitUntil([&] { return heard.count(word) == times; });
    }
    /// Answers for `songID` only once released.
    void hang(int32_t songID) {
        recogniser->answers[songID] = [this](auto &hearer, const auto &task, const auto &stop) {
            ++hanging;
            released.acquire();
            kFound(hearer, task, stop);
        };
    }
    /// So many hang, and what their workers said before was heard.
    bool hangs(int count = 1) {
        const bool isHanging = waitUntil([&] { return hanging == count; });
        QCoreApplication::processEvents();
        return isHanging;
    }
    /// Everything was said that may still come.
    QString heardAtLast() {
        released.release(hanging.exchange(0));
        EXPECT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
        QCoreApplication::processEvents();
        return heard.join(' ');
    }

    const KeptLog log;
    std::shared_ptr<FakeRecogniser> recogniser = std::make_shared<FakeRecogniser>();
    std::shared_ptr<Covers> covers = std::make_shared<Covers>();
    GetMusicID3Controller *queue = nullptr;
    QStringList heard;
    QHash<int32_t, int> open;
    std::atomic<int> exits = 0, hanging = 0;
    std::counting_semaphore<> released{0};
};

} // namespace

TEST_F(Queue, BringsEachTaskToItsEndBeforeTheNextOne) {
    const auto elsewhere = [](auto &&work) { std::thread(work).join(); };
    struct Case {
        const char *name;
        FakeRecogniser::Answer tags;
        Covers::Answer covers;
        QString words;
        bool isLate = false;
        QVariantList wanted = {};
    };
    const auto mute = [](auto &&...) {};
    const auto without = [](const QStringList &keys) {
        QVariantMap some = kSong;
        some.removeIf([&](const auto &entry) { return keys.contains(entry.key()); });
        return FakeRecogniser::saying({some});
    };
    for (const Case &row : QList<Case>{
             {"tags and covers", kFound, Covers::two, "tags1 /a/b1", false, {"A", "L", 1}},
             {"no covers", kFound, Covers::none, "tags1 uncovered1"},
             {"nobody who looks for covers", kFound, {}, "tags1 uncovered1"},
             {"no album", without({"AlbumTitle"}), Covers::two, "tags1 /a/b1", false, {"A"}},
             {"no artist", without({"AlbumArtist"}), Covers::none, "tags1 uncovered1"},
             {"nothing found", FakeRecogniser::saying({}), mute, "failed1"},
             {"a single key", without({"AlbumTitle", "AlbumArtist"}), mute, "failed1"},
             {"an error", FakeRecogniser::fail, mute, "failed1"},
             {"two answers",
              [](auto &hearer, const auto &task, const auto &) {
                  EXPECT_EQ(task.songPath + QString::number(task.milliseconds), track() + "20345");
                  hearer.getMusicsID3Info({kSong});
                  hearer.getMusicID3Error();
              },
              Covers::two, "tags1 /a/b1"},
             {"covers twice", kFound,
              [](auto &hearer, int32_t songID) {
                  Covers::none(hearer, songID);
                  Covers::two(hearer, songID);
              },
              "tags1 uncovered1"},
             {"covers on another thread", kFound,
              [&](auto &hearer, int32_t songID) { elsewhere([&] { Covers::two(hearer, songID); }); }, "tags1 /a/b1"},
             {"covers of another track on another thread", kFound,
              [&](auto &hearer, int32_t) { elsewhere([&] { Covers::two(hearer, 5); }); }, "tags1 failed1", true},
             {"covers never", kFound, mute, "tags1 failed1", true},
             {"never", mute, mute, "failed1", true},
             {"tags on another thread",
              [&](auto &hearer, auto &, auto &) { elsewhere([&] { hearer.getMusicsID3Info({kSong}); }); }, mute,
              "failed1", true},
         }) {
        SCOPED_TRACE(row.name);
        heard.clear();
        queue->setPatience({.task = row.isLate ? kSoon : 60s, .unusableTrack = 1ms});
        recogniser->answers[1] = row.tags;
        covers->answer = row.covers;
        covers->lastWanted.clear();
        GetImageController::setDefaultManager(row.covers ? covers : nullptr);
        add({1, 2});
        queue->startGet();
        EXPECT_TRUE(queue->isGettingID3());
        EXPECT_TRUE(hears("failed2"));
        EXPECT_FALSE(queue->isGettingID3());
        EXPECT_EQ(heardAtLast(), "begin1 " + row.words + " begin2 failed2");
        EXPECT_TRUE(row.wanted.isEmpty() || covers->lastWanted == row.wanted);
    }
    EXPECT_GE(exits, 1); // of the last of each pair; the next may have taken the place of the first
}

TEST_F(Queue, CutsThirtySecondsIntoAFileThatGoesWithItsWorker) {
    qint64 size = 0;
    recogniser->answers[1] = [&](auto &hearer, const auto &, const auto &) {
        size = QFile(recogniser->excerpts.last()).size();
        hearer.getMusicID3Error();
    };
    add({1}, makeFile("long.wav", wavOf(33)), 33);
    add({2}, makeFile("text.mp3", "no music")); // is asked about all the same
    queue->startGet();
    ASSERT_TRUE(hears("failed2"));
    heardAtLast();
    EXPECT_NEAR(static_cast<double>(size), 30 * 44100 * 4, 4096);
    EXPECT_EQ(recogniser->excerpts.size(), 2);
    for (const QString &excerpt : recogniser->excerpts) {
        EXPECT_TRUE(excerpt.endsWith("/ttstFor22.wav"));
        EXPECT_FALSE(QFile::exists(QFileInfo(excerpt).path()));
    }
}

TEST_F(Queue, PassesOverTracksThatCanNotBeAskedAbout) {
    queue->setPatience({.task = 60s, .unusableTrack = 40ms});
    QElapsedTimer clock;
    clock.start();
    add({1}, "");
    add({2}, inHome("gone.mp3"));
    add({3}, track(), /*fileTime=*/19);
    queue->startGet();
    ASSERT_TRUE(hears("failed3"));
    EXPECT_GE(clock.elapsed(), 120);
    EXPECT_EQ(heardAtLast(), "begin1 failed1 begin2 failed2 begin3 failed3");
    EXPECT_TRUE(recogniser->excerpts.isEmpty());
}

TEST_F(Queue, DropsWhatAWorkerSaysThatWasGivenUp) {
    queue->setPatience({.task = kSoon, .unusableTrack = 1ms});
    hang(1);
    hang(2);
    add({1, 2});
    queue->startGet();
    ASSERT_TRUE(hangs(2)); // after the first one's time is over
    EXPECT_NE(recogniser->excerpts.at(0), recogniser->excerpts.at(1));
    EXPECT_TRUE(QFile::exists(recogniser->excerpts.at(0)) && QFile::exists(recogniser->excerpts.at(1)));
    ASSERT_TRUE(hears("failed2"));
    EXPECT_EQ(heardAtLast(), "begin1 failed1 begin2 failed2");
    EXPECT_EQ(covers->lastWanted.size(), 3); // asked for all the same
    EXPECT_EQ(exits, 0);
}

TEST_F(Queue, StopsForGood) {
    recogniser->answers[1] = FakeRecogniser::hang;
    add({1, 2});
    queue->startGet();
    ASSERT_TRUE(hears("begin1"));
    queue->stop();
    EXPECT_FALSE(queue->isGettingID3() || queue->existTask(2));
    EXPECT_EQ(heardAtLast(), "begin1 failed1");
}

TEST_F(Queue, TakesDeletedTracksOut) {
    hang(1);
    for (const bool isByList : {true, false}) {
        heard.clear();
        const auto drop = [&](const QList<int32_t> &songIDs) {
            if (isByList)
                queue->deleteTaskWithSongIDs(songIDs);
            for (const int32_t songID : isByList ? QList<int32_t>() : songIDs)
                queue->deleteTaskWithSongID(songID);
        };
        add({1, 2, 3});
        queue->startGet();
        ASSERT_TRUE(hangs());
        drop({2, 1, 99});
        EXPECT_EQ(heard.join(' '), "begin1"); // told of in a turn of its own
        ASSERT_TRUE(hears("failed3"));
        EXPECT_EQ(heardAtLast(), "begin1 failed1 begin3 failed3");
        drop({3}); // it fails again, though it is long done
        EXPECT_TRUE(hears("failed3", 2));
    }
}

TEST_F(Queue, LeavesATaskAloneThatBeganWhileADeletionWasTold) {
    hang(1);
    hang(2);
    add({1});
    queue->startGet();
    ASSERT_TRUE(hangs());
    queue->deleteTaskWithSongIDs({1});
    EXPECT_FALSE(queue->isGettingID3());
    add({2, 3});
    queue->startGet();
    ASSERT_TRUE(hears("failed1"));
    EXPECT_TRUE(queue->isGettingID3());
    ASSERT_TRUE(hangs(2));
    released.release(2);
    ASSERT_TRUE(hears("failed3"));
    EXPECT_EQ(heard.filter("2").join(' '), "begin2 tags2 /a/b2");
}

TEST_F(Queue, HoldsATrackOnceUnlessItRuns) {
    hang(1);
    add({1, 2, 2});
    queue->startGet();
    ASSERT_TRUE(hangs());
    EXPECT_FALSE(queue->existTask(1));
    add({2, 1});
    EXPECT_TRUE(queue->existTask(1));
    released.release(2);
    EXPECT_TRUE(hears("/a/b1", 2));
    EXPECT_EQ(heard.join(' '), "begin1 tags1 /a/b1 begin2 failed2 begin1 tags1 /a/b1");
}

TEST_F(Queue, FailsTheLastTrackOnceMoreAfterAStartWithNothingToDo) {
    add({4});
    queue->startGet();
    ASSERT_TRUE(hears("failed4"));
    queue->setPatience({.task = kSoon, .unusableTrack = 1ms});
    queue->startGet();
    EXPECT_EQ(heardAtLast(), "begin4 failed4");
    EXPECT_TRUE(hears("failed4", 2));
}

TEST_F(Queue, GivesEveryTrackThatBeganOneLastWordInAnyTurmoil) {
    QRandomGenerator random(11);
    queue->setPatience({.task = 20ms, .unusableTrack = 1ms});
    for (int32_t songID = 1; songID < 40; ++songID)
        recogniser->answers[songID] = songID % 3 ? kFound : [](auto &&...) {};
    for (int i = 0; i < 150; ++i) {
        add({random.bounded(1, 40), random.bounded(1, 40)});
        if (!queue->isGettingID3())
            queue->startGet();
        if (i % 4 == 0)
            queue->deleteTaskWithSongIDs({random.bounded(1, 40), random.bounded(1, 40)});
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(waitUntil([&] { return !queue->isGettingID3(); }));
    EXPECT_EQ(QSet<int>(open.begin(), open.end()), QSet<int>{0});
}
