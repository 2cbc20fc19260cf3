#include "identify/queue/GetMusicID3Controller.h"

#include "demo/RunningProgram.h"
#include "platform/run/Log.h"
#include "support/FakeRecogniser.h"
#include "support/MadeAudio.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <semaphore>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr auto kSoon = 250ms; // a time-out that is waited for
const QVariantMap kSong{{"MusicTitle", "T"}, {"AlbumArtist", "A"}, {"AlbumTitle", "L"}};

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
    void getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &) override {
        lastWanted = wanted;
        answer(*delegate(), forSongID);
    }
    static QVariantMap none(int32_t songID) { return {{"SongID", songID}}; }
    static QVariantMap two(int32_t songID) { return {{"SongID", songID}, {"ResultAry", QStringList{"/a", "/b"}}}; }

    std::function<void(GetImageControllerDelegate &, int32_t)> answer = [](auto &hearer, int32_t songID) {
        hearer.getCoverImageInfo(two(songID));
    };
    QVariantList lastWanted; // read once the task is over
};

class Queue : public testing::Test, public GetMusicID3ControllerDelegate {
protected:
    void SetUp() override {
        setLogSink([](const QString &) {});
        ID3TagControl::setDefaultManager(recogniser);
        GetImageController::setDefaultManager(covers);
        queue = GetMusicID3Controller::defaultManager();
        ASSERT_TRUE(queue);
        queue->setDelegate(this);
        queue->setPatience({.task = 60s, .unusableTrack = 1ms});
    }
    void TearDown() override {
        queue->stop();
        for (auto &thread : threads)
            thread.join();
        EXPECT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
        queue->setDelegate(nullptr);
        setLogSink({});
    }
    void getID3DidBegin(int32_t songID) override { hear("begin %1", songID); }
    void getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex) override {
        hear("tags %1 " + QStringList(info.keys()).join('+'), RecorderIndex);
    }
    void getID3DidFailWithError(int32_t songID) override { hear("failed %1", songID); }
    void getCoverImageDidFinish(const QStringList &paths, int32_t RecorderIndex) override {
        hear("covers %1 " + paths.join('+'), RecorderIndex);
    }
    void getCoverImageDidFailWithError(int32_t songID) override { hear("no cover %1", songID); }
    void NotifyGetID3ThreadWillExit() override {
        ++exits;
        EXPECT_NE(QThread::currentThread(), qApp->thread());
    }
    void hear(const QString &words, int32_t songID) {
        EXPECT_EQ(QThread::currentThread(), qApp->thread());
        heard << words.arg(songID);
        whenHeard(heard.last());
    }

    static QVariantMap task(int32_t songID, const QString &path = {}, int fileTime = 20) {
        return {{"Path", path.isNull() ? track() : path},
                {"SongID", songID},
                {"Priority", 3},
                {"FileTime", fileTime},
                {"Length", fileTime * 1000 + 345}};
    }
    static const QString &track() {
        static const QString path = makeFile("track.wav", wavOf(1));
        return path;
    }
    void add(const QList<int32_t> &songIDs) {
        QList<QVariantMap> tasks;
        for (const int32_t songID : songIDs)
            tasks << task(songID);
        queue->addMusicsWantedID3Path(tasks);
    }
    bool hears(const QString &words) {
        return waitUntil([&] { return heard.contains(words); });
    }
    bool isIdle() {
        return waitUntil([&] { return !queue->isGettingID3(); });
    }
    static void turn(std::chrono::milliseconds time) {
        QElapsedTimer clock;
        clock.start();
        waitUntil([&] { return clock.hasExpired(time.count()); });
    }
    /// Answers for `songID` only once released.
    void hang(int32_t songID, const FakeRecogniser::Answer &then = FakeRecogniser::saying({kSong})) {
        recogniser->answers[songID] = [this, then](auto &hearer, const auto &task, const auto &stop) {
            ++hanging;
            released.acquire();
            then(hearer, task, stop);
        };
    }
    /// So many hang, and what their workers said before was heard.
    bool hangs(int count = 1) {
        const bool isHanging = waitUntil([&] { return hanging == count; });
        QCoreApplication::processEvents();
        return isHanging;
    }

    std::shared_ptr<FakeRecogniser> recogniser = std::make_shared<FakeRecogniser>();
    std::shared_ptr<Covers> covers = std::make_shared<Covers>();
    GetMusicID3Controller *queue = nullptr;
    QStringList heard;
    std::function<void(const QString &)> whenHeard = [](const QString &) {};
    std::atomic<int> exits = 0, hanging = 0;
    std::counting_semaphore<> released{0};
    std::vector<std::thread> threads;
};

const QString kTags = "tags 1 AlbumArtist+AlbumTitle+MusicTitle";

} // namespace

TEST_F(Queue, BringsEachTaskToItsEndBeforeTheNextOne) {
    const auto elsewhere = [this](std::function<void()> work) { threads.emplace_back(std::move(work)); };
    const auto quick = [](auto answer) {
        return [answer](auto &hearer, int32_t songID) { std::thread([&] { answer(hearer, songID); }).join(); };
    };
    struct Case {
        const char *name;
        FakeRecogniser::Answer tags;
        std::function<void(GetImageControllerDelegate &, int32_t)> covers;
        QStringList words;
        bool isLate = false;
    };
    const auto found = FakeRecogniser::saying({kSong});
    const auto two = [](auto &hearer, int32_t songID) { hearer.getCoverImageInfo(Covers::two(songID)); };
    const QList<Case> cases = {
        {"tags and covers", found, two, {kTags, "covers 1 /a+/b"}},
        {"no covers",
         found,
         [](auto &hearer, int32_t songID) { hearer.getCoverImageError(Covers::none(songID)); },
         {kTags, "no cover 1"}},
        {"an empty list of covers",
         found,
         [](auto &hearer, int32_t songID) { hearer.getCoverImageInfo(Covers::none(songID)); },
         {kTags, "covers 1 "}},
        {"nothing found", FakeRecogniser::saying({}), two, {"failed 1"}},
        {"a single key", FakeRecogniser::saying({QVariantMap{{"MusicTitle", "T"}}}), two, {"failed 1"}},
        {"an error", FakeRecogniser::fail, two, {"failed 1"}},
        {"two answers",
         [](auto &hearer, const auto &, const auto &) {
             hearer.getMusicsID3Info({kSong});
             hearer.getMusicID3Error();
             hearer.getMusicsID3Info({kSong});
         },
         two,
         {kTags, "covers 1 /a+/b"}},
        {"covers twice",
         found,
         [](auto &hearer, int32_t songID) {
             hearer.getCoverImageError(Covers::none(songID));
             hearer.getCoverImageInfo(Covers::two(songID));
         },
         {kTags, "no cover 1"}},
        {"covers on another thread", found, quick(two), {kTags, "covers 1 /a+/b"}},
        {"covers of another track on another thread",
         found,
         quick([](auto &hearer, int32_t) { hearer.getCoverImageInfo(Covers::two(5)); }),
         {kTags, "failed 1"},
         true},
        {"never", [](auto &, const auto &, const auto &) {}, two, {"failed 1"}, true},
        {"tags on another thread",
         [&](auto &hearer, const auto &, const auto &) { elsewhere([&hearer] { hearer.getMusicsID3Info({kSong}); }); },
         two,
         {"failed 1"},
         true},
        {"covers never", found, [](auto &, int32_t) {}, {kTags, "failed 1"}, true},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.name);
        heard.clear();
        queue->setPatience({.task = row.isLate ? kSoon : 60s, .unusableTrack = 1ms});
        recogniser->answers[1] = row.tags;
        covers->answer = row.covers;
        add({1, 2});
        queue->startGet();
        EXPECT_TRUE(queue->isGettingID3());
        EXPECT_TRUE(hears("failed 2"));
        EXPECT_TRUE(isIdle());
        EXPECT_EQ(heard, QStringList("begin 1") + row.words + QStringList({"begin 2", "failed 2"}));
    }
    EXPECT_EQ(recogniser->asked.first().songPath, track());
    EXPECT_EQ(recogniser->asked.first().milliseconds, 20'345);
}

TEST_F(Queue, GoesOnWithoutAnybodyWhoLooksForCovers) {
    GetImageController::setDefaultManager(nullptr);
    recogniser->answers[1] = FakeRecogniser::saying({kSong});
    add({1});
    queue->startGet();
    EXPECT_TRUE(hears("no cover 1"));
    EXPECT_FALSE(queue->isGettingID3());
}

TEST_F(Queue, AsksForCoversByWhatIsKnown) {
    struct Case {
        QVariantMap found;
        QVariantList wanted;
    };
    for (const auto &[found, wanted] : QList<Case>{
             {kSong, {"A", "L", 1}},
             {{{"MusicTitle", "T"}, {"AlbumArtist", "A"}}, {"A"}},
             {{{"MusicTitle", "T"}, {"AlbumTitle", "L"}}, {}},
         }) {
        heard.clear();
        recogniser->answers[1] = FakeRecogniser::saying({found});
        add({1});
        queue->startGet();
        EXPECT_TRUE(hears("covers 1 /a+/b"));
        EXPECT_EQ(covers->lastWanted, wanted);
    }
}

TEST_F(Queue, CutsThirtySecondsIntoAFileThatGoesWithItsWorker) {
    const QString song = makeFile("long.wav", wavOf(33));
    qint64 size = 0;
    recogniser->answers[1] = [&](auto &hearer, const auto &task, const auto &) {
        const std::lock_guard lock(recogniser->mutex);
        size = QFile(recogniser->excerpts.last()).size();
        EXPECT_EQ(task.songPath, song);
        hearer.getMusicID3Error();
    };
    queue->addMusicsWantedID3Path({task(1, song, 33), task(2, makeFile("text.mp3", "no music"))});
    queue->startGet();
    ASSERT_TRUE(hears("failed 2")); // what can't be cut is asked about all the same
    EXPECT_NEAR(static_cast<double>(size), 30 * 44100 * 4, 4096);
    ASSERT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
    for (const QString &excerpt : recogniser->excerpts) {
        EXPECT_TRUE(excerpt.endsWith("/ttstFor22.wav"));
        EXPECT_FALSE(QFile::exists(QFileInfo(excerpt).path()));
    }
}

TEST_F(Queue, PassesOverTracksThatCanNotBeAskedAbout) {
    constexpr auto kPause = 40ms;
    queue->setPatience({.task = 60s, .unusableTrack = kPause});
    QElapsedTimer clock;
    clock.start();
    queue->addMusicsWantedID3Path({task(1, ""), task(2, inHome("gone.mp3")), task(3, track(), /*fileTime=*/19)});
    queue->startGet();
    ASSERT_TRUE(hears("failed 3"));
    EXPECT_GE(clock.elapsed(), 3 * kPause.count());
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1", "begin 2", "failed 2", "begin 3", "failed 3"}));
    EXPECT_TRUE(recogniser->excerpts.isEmpty());
}

TEST_F(Queue, DropsWhatAWorkerSaysThatWasGivenUp) {
    queue->setPatience({.task = kSoon, .unusableTrack = 1ms});
    hang(1);
    hang(2);
    add({1, 2});
    queue->startGet();
    ASSERT_TRUE(hangs(2)); // after the first one's time is over
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1", "begin 2"}));
    const QStringList excerpts = recogniser->excerptsSoFar();
    EXPECT_NE(excerpts.at(0), excerpts.at(1));
    EXPECT_TRUE(QFile::exists(excerpts.at(0)) && QFile::exists(excerpts.at(1)));
    ASSERT_TRUE(hears("failed 2"));
    released.release(2);
    ASSERT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
    turn(20ms);
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1", "begin 2", "failed 2"}));
    EXPECT_EQ(covers->lastWanted, QVariantList({"A", "L", covers->lastWanted.value(2)})); // asked for all the same
    EXPECT_EQ(exits, 0);
}

TEST_F(Queue, TellsAHangingRecogniserToStop) {
    recogniser->answers[1] = FakeRecogniser::hang;
    add({1, 2});
    queue->startGet();
    ASSERT_TRUE(waitUntil([&] { return !recogniser->excerptsSoFar().isEmpty(); }) && hears("begin 1"));
    queue->stop();
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1"}));
    EXPECT_FALSE(queue->isGettingID3());
    EXPECT_FALSE(queue->existTask(2));
    EXPECT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
    turn(20ms);
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1"}));
}

TEST_F(Queue, TakesDeletedTracksOut) {
    using Remove = std::function<void(const QList<int32_t> &)>;
    const Remove byList = [this](const QList<int32_t> &songIDs) { queue->deleteTaskWithSongIDs(songIDs); };
    const Remove oneByOne = [this](const QList<int32_t> &songIDs) {
        for (const int32_t songID : songIDs)
            queue->deleteTaskWithSongID(songID);
    };
    hang(1);
    for (const Remove &drop : {byList, oneByOne}) {
        heard.clear();
        hanging = 0;
        add({1, 2, 3});
        queue->startGet();
        ASSERT_TRUE(hangs());
        drop({2, 1, 99});
        EXPECT_EQ(heard, QStringList("begin 1")); // told of in a turn of its own
        ASSERT_TRUE(hears("failed 3"));
        EXPECT_EQ(heard, QStringList({"begin 1", "failed 1", "begin 3", "failed 3"}));
        released.release();
        ASSERT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
        // The last one fails again, though it is long done.
        drop({3});
        EXPECT_TRUE(waitUntil([&] { return heard.count("failed 3") == 2; }));
    }
}

TEST_F(Queue, LeavesATaskAloneThatBeganWhileADeletionWasTold) {
    hang(1);
    add({1});
    queue->startGet();
    ASSERT_TRUE(hangs());
    queue->deleteTaskWithSongIDs({1});
    EXPECT_FALSE(queue->isGettingID3());
    hang(2);
    add({2, 3});
    queue->startGet();
    ASSERT_TRUE(hears("failed 1"));
    EXPECT_TRUE(queue->isGettingID3());
    released.release(2);
    ASSERT_TRUE(hears("failed 3"));
    EXPECT_EQ(heard.filter("2"),
              QStringList({"begin 2", "tags 2 AlbumArtist+AlbumTitle+MusicTitle", "covers 2 /a+/b"}));
}

TEST_F(Queue, HoldsATrackOnceUnlessItRuns) {
    hang(1, FakeRecogniser::saying({}));
    add({1, 2, 2});
    EXPECT_TRUE(queue->existTask(1));
    queue->startGet();
    ASSERT_TRUE(hangs());
    EXPECT_FALSE(queue->existTask(1));
    add({2, 1});
    EXPECT_TRUE(queue->existTask(1));
    released.release(2);
    EXPECT_TRUE(waitUntil([&] { return heard.count("failed 1") == 2; }));
    EXPECT_EQ(heard, QStringList({"begin 1", "failed 1", "begin 2", "failed 2", "begin 1", "failed 1"}));
}

TEST_F(Queue, FailsTheLastTrackOnceMoreAfterAStartWithNothingToDo) {
    add({4});
    queue->startGet();
    ASSERT_TRUE(hears("failed 4"));
    queue->setPatience({.task = kSoon, .unusableTrack = 1ms});
    queue->startGet();
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(heard, QStringList({"begin 4", "failed 4"}));
    EXPECT_TRUE(waitUntil([&] { return heard == QStringList({"begin 4", "failed 4", "failed 4"}); }));
}

TEST_F(Queue, TellsWhenAWorkerEnds) {
    add({1, 2});
    queue->startGet();
    ASSERT_TRUE(hears("failed 2"));
    ASSERT_TRUE(GetMusicID3Controller::waitForWorkers(10s));
    EXPECT_GE(exits, 1); // the last one; the next may have taken the place of the first
}

TEST_F(Queue, GivesEveryTrackThatBeganOneLastWord) {
    QRandomGenerator random(11);
    QHash<int32_t, int> open;
    whenHeard = [&](const QString &words) {
        const int32_t songID = words.section(' ', words.startsWith("no") ? 2 : 1).section(' ', 0, 0).toInt();
        if (words.startsWith("begin"))
            EXPECT_EQ(open[songID]++, 0) << qPrintable(words);
        else if (!words.startsWith("tags"))
            open[songID] = 0; // deletions of what is done fail it again
    };
    queue->setPatience({.task = 20ms, .unusableTrack = 1ms});
    for (int32_t songID = 1; songID < 40; ++songID)
        recogniser->answers[songID] =
            songID % 3 ? FakeRecogniser::saying({kSong}) : [](auto &, const auto &, const auto &) {};
    for (int i = 0; i < 150; ++i) {
        add({random.bounded(1, 40), random.bounded(1, 40)});
        if (!queue->isGettingID3())
            queue->startGet();
        if (i % 4 == 0)
            queue->deleteTaskWithSongIDs({random.bounded(1, 40), random.bounded(1, 40)});
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(QSet<int>(open.begin(), open.end()), QSet<int>{0});
}

TEST(GetMusicID3Controller, ComesIntoBeingOnceThereIsSomebodyToAsk) {
    setLogSink([](const QString &) {});
    EXPECT_FALSE(GetMusicID3Controller::defaultManager());
    const auto recogniser = std::make_shared<FakeRecogniser>();
    recogniser->usable = false;
    ID3TagControl::setDefaultManager(recogniser);
    EXPECT_FALSE(GetMusicID3Controller::defaultManager());
    EXPECT_FALSE(GetMusicID3Controller::isExistobject());
    recogniser->usable = true;
    EXPECT_TRUE(GetMusicID3Controller::defaultManager());
    EXPECT_TRUE(GetMusicID3Controller::isExistobject());
    setLogSink({});
}
