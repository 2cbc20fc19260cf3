#include "capture/AudioRecord.h"

#include "demo/DecodedAudio.h"
#include "demo/RunningProgram.h"
#include "platform/media/Av.h"
#include "support/FakeInputUnit.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {
constexpr DeviceID kDevice = 7;
constexpr int kBitRate = 256'000;

struct Heard final : AudioRecordDelegate {
    QStringList finished;
    std::pair<uint64_t, uint64_t> lasted; // host times of the last file
    std::vector<qint64> durations;
    std::vector<float> silences;
    struct Signal {
        bool isNull;
        qint64 inFile, overall;
    };
    std::vector<Signal> signalled;
    QStringList failures;
    std::function<void()> onSilence = [] {};

    void recordedFileDidLast(const QString &, uint64_t from, uint64_t to) override { lasted = {from, to}; }
    void notifyRecordedFinish(const QString &path) override { finished << path; }
    void soundFileRecorderReachedDuration(qint64 ms) override { durations.push_back(ms); }
    void recordingTimeForAudioIsNull(float seconds) override {
        silences.push_back(seconds);
        onSilence();
    }
    void nullAudioSignal(bool isNull, qint64 inFile, qint64 overall) override {
        signalled.push_back({isNull, inFile, overall});
    }
    void recordingFileDidFail(const QString &path, const QString &, bool) override { failures << path; }
    int64_t lostBlocks = 0;
    void recordingFileDidLoseSound(const QString &, float seconds) override {
        lostBlocks += std::lround(static_cast<double>(seconds) / kSecondsPerBlock);
    }
};

struct AudioRecordTest : testing::Test {
    KeptLog log;
    FakeInputUnits units;
    Heard heard;
    AudioRecord engine{units.factory()};
    BlockFeed device{engine};

    void SetUp() override { engine.setDelegate(&heard); }

    bool open(const QString &name, ExportType type) {
        const bool isOpen = engine.setRecordingFile(inHome(name), type, kBitRate, kDevice);
        engine.startRecordAudio();
        return isOpen;
    }
    /// Blocks as fast as the MP3 writer takes them; a device's own pace is slower.
    void play(int blocks, const std::function<void()> &feedBlock) {
        for (int i = 0; i < blocks; ++i) {
            feedBlock();
            engine.deliverReports();
            EXPECT_TRUE(waitUntil([this] { return engine.freeMP3Blocks() > 8; })); // with fewer the writer was woken
        }
    }
    void tone(int blocks) {
        play(blocks, [this] { device.tone(); });
    }
    void silence(int blocks) {
        play(blocks, [this] { device.silence(); });
    }
    /// Sound that no encoder makes small.
    void noise(int blocks) {
        play(blocks, [this] {
            std::array<float, kBlockFrames> samples{};
            std::ranges::generate(samples, [this] { return noise_(random_); });
            device.feed(samples, samples);
        });
        QCoreApplication::processEvents();
    }
    std::mt19937 random_{1};
    std::uniform_real_distribution<float> noise_{-0.5f, 0.5f};
};

QStringList synced; // files that were made to reach the disk
std::atomic<bool> failsNextFileClose = false;
void *latePage = nullptr;
std::atomic<bool> isPageAwaited = false, isPageThere = false;

std::array<float, kBlockFrames> quietAndLoud(int quiet, float quietValue = 0) {
    std::array<float, kBlockFrames> block;
    block.fill(1.0f);
    std::fill_n(block.begin(), quiet, quietValue);
    return block;
}
} // namespace

// In place of the system's, for the whole program.
extern "C" int fsync(int file) {
    synced << QFile::symLinkTarget(QString("/proc/self/fd/%1").arg(file)).section('/', -1);
    return 0;
}
extern "C" int fclose(FILE *file) {
    static const auto next = reinterpret_cast<int (*)(FILE *)>(dlsym(RTLD_NEXT, "fclose"));
    const int result = next(file);
    if (!failsNextFileClose.exchange(false))
        return result;
    errno = EDQUOT; // as a file server answers that tells of its room only now
    return EOF;
}

TEST(SilentBlock, NeedsSevenTenthsOfItsSamplesStrictlyBelowTheThreshold) {
    EXPECT_FALSE(AudioRecord::isNULLAudioData(nullptr));
    EXPECT_FALSE(AudioRecord::isNULLAudioData(quietAndLoud(358).data()));
    EXPECT_TRUE(AudioRecord::isNULLAudioData(quietAndLoud(359).data()));
    EXPECT_TRUE(AudioRecord::isNULLAudioData(quietAndLoud(512, -0.00009f).data()));
    // 0.0001f widened to double lies just below 0.0001; the next float above it does not.
    EXPECT_TRUE(AudioRecord::isNULLAudioData(quietAndLoud(512, 0.0001f).data()));
    EXPECT_FALSE(AudioRecord::isNULLAudioData(quietAndLoud(512, std::nextafter(0.0001f, 1.0f)).data()));
}

TEST(SixteenBits, AreCutTowardZeroAndLimited) {
    constexpr float kSamples[] = {1.0f, 1.5f, -1.0f, -7.0f, 0.5f, -0.99999f, 0.00003f, -0.00003f, 0, NAN};
    constexpr int kValues[] = {32767, 32767, -32768, -32768, 16384, -32767, 0, 0, 0, 0};
    for (size_t i = 0; i < std::size(kSamples); ++i)
        EXPECT_EQ(AudioRecord::flt32toS16(kSamples[i]), kValues[i]) << kSamples[i];
}

TEST_F(AudioRecordTest, SplitsAtTheFirstSilentBlockPastTheInterval) {
    for (const auto &[interval, blocks] : {std::pair<qint64, int>{300, 26}, {1000, 87}, {0, 1}}) {
        SCOPED_TRACE(interval);
        heard.silences.clear();
        engine.setAutoSplitTimeForMillisecond(interval);
        ASSERT_TRUE(open("split.mp3", ExportType::MP3));
        tone(3);
        silence(blocks - 1);
        EXPECT_TRUE(heard.silences.empty());
        heard.signalled.clear();
        silence(1);
        ASSERT_EQ(heard.silences.size(), 1u);
        EXPECT_FLOAT_EQ(heard.silences[0], static_cast<float>(blocks * kSecondsPerBlock));
        ASSERT_EQ(heard.signalled.size(), 2u); // the split's own signal, at ten times the silence, and the block's
        EXPECT_EQ(heard.signalled[0].inFile, static_cast<qint64>(heard.silences[0] * 10000.0f));
        EXPECT_EQ(heard.signalled[0].overall, 0);
        silence(blocks); // nobody cut: the silence counts from 0 again
        EXPECT_EQ(heard.silences.size(), 2u);
        engine.stopRecordAudioFile();
    }
    // Who hears of a split may take itself back.
    heard.onSilence = [this] { engine.setDelegate(nullptr); };
    ASSERT_TRUE(open("last.mp3", ExportType::MP3));
    tone(3);
    silence(1);
    EXPECT_EQ(heard.silences.size(), 3u);
}

TEST_F(AudioRecordTest, DropsLeadingSilenceAndKeepsTheSilenceBehindTheSound) {
    for (const auto &[name, type] : {std::pair{"kept.m4a", ExportType::M4A}, std::pair{"kept.mp3", ExportType::MP3}}) {
        SCOPED_TRACE(name);
        heard.durations.clear();
        const uint64_t begin = device.hostTime() + 50 * kBlockNanoseconds;
        ASSERT_TRUE(open(name, type));
        silence(50);
        EXPECT_EQ(heard.durations, std::vector<qint64>(50)); // at zero until there is sound
        tone(50);
        device.feed(quietAndLoud(10, 1e30f), quietAndLoud(10)); // no encoder takes that, and the file goes on
        tone(49);
        silence(20);
        EXPECT_EQ(heard.durations.size(), 50u + 12u); // then every tenth block
        EXPECT_EQ(heard.durations.back(), 1369);      // to the start of the 120th block, from the end of the first
        engine.stopRecordAudioFile();
        const DecodedAudio sound = decodeAudio(inHome(name));
        EXPECT_EQ(sound.sampleRate, kSampleRate);
        EXPECT_EQ(sound.frames(), 120u * kBlockFrames);
        EXPECT_GT(std::abs(sound.left[300]), 0.0f);
        EXPECT_EQ(heard.finished, QStringList{inHome(name)});
        EXPECT_EQ(heard.lasted, std::pair(begin, begin + 120 * kBlockNanoseconds));
        heard.finished.clear();
    }
    EXPECT_TRUE(waitUntil([&] { return heard.lostBlocks == 2; })); // a frame of the M4A
    EXPECT_TRUE(heard.failures.isEmpty());
    ASSERT_TRUE(open("refused at last.mp3", ExportType::MP3));
    failsNextFileClose = true;
    engine.stopRecordAudioFile();
    EXPECT_TRUE(waitUntil([&] { return heard.failures == QStringList{inHome("refused at last.mp3")}; }));
}

TEST_F(AudioRecordTest, WritesNeitherSilenceOnTheLeftNorAFailedRenderNorASliceOfAnotherSize) {
    ASSERT_TRUE(open("odd.m4a", ExportType::M4A));
    const auto block = quietAndLoud(0);
    device.feed({}, block);
    device.tone(/*status=*/-50);
    EXPECT_EQ(engine.AudioInputProc({1, 256, block.data(), block.data(), /*status=*/-1}), 0);
    engine.deliverReports();
    EXPECT_EQ(log.last(), "the number is not right!");
    ASSERT_EQ(heard.signalled.size(), 2u);
    EXPECT_TRUE(heard.signalled[0].isNull);
    EXPECT_FALSE(heard.signalled[1].isNull); // the failed block is looked at, and not kept
    engine.stopRecordAudioFile();
    EXPECT_EQ(decodeAudio(inHome("odd.m4a")).frames(), 0u);
    EXPECT_EQ(heard.finished.size(), 1); // an empty file ends like any other
}

TEST_F(AudioRecordTest, RunsThroughItsLifeAsTheSessionDrivesIt) {
    engine.configurePluginDiviceAuidoUnit();
    EXPECT_EQ(units.starts, 1);
    EXPECT_EQ(engine.recordStatus(), 0);
    ASSERT_TRUE(open("first.m4a", ExportType::M4A)); // a new device id: configured anew, started again
    EXPECT_EQ(units.initializedFor.back(), kDevice);
    EXPECT_EQ(engine.recordStatus(), 1);
    engine.stopRecordAudioFile();
    const size_t configured = units.initializedFor.size();
    EXPECT_TRUE(engine.setRecordingFile(inHome("second.mp3"), ExportType::MP3, kBitRate, kDevice));
    EXPECT_FALSE(engine.startRecordAudio()); // it runs already
    EXPECT_TRUE(engine.isRecording());
    EXPECT_EQ(units.initializedFor.size(), configured);

    units.nextStop = -1;
    EXPECT_FALSE(engine.stopRecordAudio());
    EXPECT_TRUE(engine.isRecording());
    units.nextStop = 0;
    EXPECT_TRUE(engine.stopRecordAudio());
    EXPECT_FALSE(engine.isRecording());
    units.nextStart = -1;
    EXPECT_FALSE(engine.startRecordAudio());
    EXPECT_EQ(engine.recordStatus(), 0);
    units.initializes = false;
    EXPECT_FALSE(engine.configureAudioUnit(9));
    EXPECT_FALSE(engine.startRecordAudio());
    open("no unit.m4a", ExportType::M4A);
    EXPECT_EQ(engine.recordStatus(), 0);
    units.initializes = true;
    units.nextStart = 0;
    open("a unit again.m4a", ExportType::M4A); // the same device is tried again
    EXPECT_EQ(engine.recordStatus(), 1);
}

TEST_F(AudioRecordTest, AnswersForFilesThatCannotBeMade) {
    EXPECT_FALSE(open("no folder/x.m4a", ExportType::M4A));
    EXPECT_FALSE(engine.isRecording());
    ASSERT_TRUE(waitUntil([&] { return heard.failures.size() == 1; }));
    EXPECT_TRUE(open("no folder/x.mp3", ExportType::MP3));
    EXPECT_FALSE(engine.isRecording());
    ASSERT_TRUE(waitUntil([&] { return heard.failures.size() == 2; }));
    EXPECT_TRUE(open("x.wav", static_cast<ExportType>(5)));
    EXPECT_FALSE(engine.isRecording());
    engine.stopRecordAudioFile();
    EXPECT_TRUE(heard.finished.isEmpty());
}

TEST_F(AudioRecordTest, HoldsWhatAStalledWriterCannotTakeAndTellsWhatIsLost) {
    // A pipe that nobody reads stalls the writer as a dead disk would.
    const QByteArray pipe = inHome("stalled.mp3").toUtf8();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    const int reader = ::open(pipe.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_TRUE(open("stalled.mp3", ExportType::MP3));
    ASSERT_EQ(fcntl(reader, F_SETPIPE_SZ, 4096), 4096);
    // The pipe fills after a fraction of a second; from then on the writer hangs with one block in its hands.
    do {
        device.tone();
        engine.deliverReports();
    } while (waitUntil([&] { return engine.freeMP3Blocks() == 20; }, /*milliseconds=*/2000));
    device.tones(18 + 512);
    EXPECT_EQ(engine.freeMP3Blocks(), 1); // the rest waits in the hold
    device.tone();
    EXPECT_EQ(engine.freeMP3Blocks(), 0);
    engine.deliverReports();
    heard.durations.clear();
    device.tones(11);
    engine.deliverReports();
    EXPECT_GE(heard.durations.size(), 1u); // the lost blocks count as recorded
    QByteArray drained(1 << 16, 0);
    std::thread drain([&] {
        fcntl(reader, F_SETFL, 0);
        while (read(reader, drained.data(), static_cast<size_t>(drained.size())) > 0) {
        }
    });
    engine.stopRecordAudioFile();
    drain.join();
    close(reader);
    EXPECT_EQ(log.filter("11 blocks of sound (0.13 s) were lost from").size(), 1);
    EXPECT_TRUE(waitUntil([&] { return heard.lostBlocks == 11; }));
    EXPECT_EQ(heard.failures.size(), 1); // a pipe takes no info frame
}

TEST_F(AudioRecordTest, CutsWithoutAGapHoweverLateTheMainThreadIs) {
    engine.setAutoSplitTimeForMillisecond(300);
    heard.onSilence = [&] {
        const AudioRecord::BlockHold hold(engine);
        engine.stopRecordAudioFile();
        engine.setRecordingFile(inHome("next.m4a"), ExportType::M4A, kBitRate, kDevice);
    };
    ASSERT_TRUE(open("one.m4a", ExportType::M4A));
    // A burst with the end of a song, a gap that is barely long enough, and the start of the next song in it.
    device.tones(100);
    device.silences(27);
    device.tones(60);
    engine.deliverReports();
    EXPECT_EQ(heard.silences.size(), 1u);
    tone(100); // the held blocks go on at twice the pace
    engine.stopRecordAudioFile();
    EXPECT_EQ(decodeAudio(inHome("one.m4a")).frames(), 126u * kBlockFrames);
    EXPECT_EQ(decodeAudio(inHome("next.m4a")).frames(), 160u * kBlockFrames);
}

TEST_F(AudioRecordTest, KeepsWhatIsHeldAtAStopAndTellsWhatTheHoldCannotTake) {
    for (const auto &[name, type, held, after, lost] :
         {std::tuple<const char *, ExportType, int, int, int>{"a.m4a", ExportType::M4A, 258, 86, 0},
          {"b.mp3", ExportType::MP3, 258, 86, 0},
          {"longer than the hold.m4a", ExportType::M4A, 600, 0, 88}}) {
        SCOPED_TRACE(name);
        heard.lostBlocks = 0;
        ASSERT_TRUE(open(name, type));
        {
            const AudioRecord::BlockHold hold(engine);
            device.tones(held);
        }
        tone(after); // at twice the pace: as many again are still held
        engine.stopRecordAudioFile();
        EXPECT_EQ(decodeAudio(inHome(name)).frames(), (held - lost + after) * kBlockFrames);
        EXPECT_TRUE(waitUntil([&, lost = lost] { return heard.lostBlocks == lost; }));
    }
}

TEST_F(AudioRecordTest, CutsByHandBetweenThreadsLoseNothing) {
    std::atomic<bool> isFed = false;
    std::thread audio;
    int files = 0;
    for (bool isLast = false; !isLast; ++files) {
        isLast = isFed; // one more file for what the last hold kept
        const AudioRecord::BlockHold hold(engine);
        engine.stopRecordAudioFile();
        ASSERT_TRUE(open(QString("%1.m4a").arg(files), ExportType::M4A));
        if (files == 0)
            audio = std::thread([&] {
                for (int i = 0; i < 400; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(1)))
                    device.tone();
                isFed = true;
            });
        engine.deliverReports();
    }
    audio.join();
    engine.stopRecordAudioFile();
    size_t frames = 0;
    while (files > 0)
        frames += decodeAudio(inHome(QString("%1.m4a").arg(--files))).frames();
    EXPECT_EQ(frames, 400u * kBlockFrames);
}

TEST_F(AudioRecordTest, ACutByHandWaitsForTheBlockInFlight) {
    // Whoever reads the samples waits until their page is there.
    latePage = mmap(nullptr, sizeof(SoundBlock), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    signal(SIGSEGV, [](int) {
        isPageAwaited = true;
        usleep(50'000); // in which a cut that does not wait is through
        isPageThere = true;
        mprotect(latePage, sizeof(SoundBlock), PROT_READ);
    });
    ASSERT_TRUE(open("late.m4a", ExportType::M4A));
    tone(10);
    std::thread audio([&] {
        const auto *samples = static_cast<const float *>(latePage);
        engine.AudioInputProc({/*hostTime=*/2'000'000'000, kBlockFrames, samples, samples, /*status=*/0});
    });
    EXPECT_TRUE(waitUntil([] { return isPageAwaited.load(); }));
    engine.stopRecordAudioFile();
    EXPECT_TRUE(isPageThere);
    audio.join();
    EXPECT_EQ(decodeAudio(inHome("late.m4a")).frames(), 11u * kBlockFrames);
}

TEST_F(AudioRecordTest, LooksForReportsByItselfWhileTheUnitRunsAndOnceMoreBehindIt) {
    engine.configurePluginDiviceAuidoUnit();
    QCoreApplication::processEvents();
    device.tone(); // idle, it looks once a second; the first sound wakes it
    EXPECT_TRUE(waitUntil([&] { return heard.signalled.size() == 1; }, /*milliseconds=*/950));
    engine.setAutoSplitTimeForMillisecond(300);
    ASSERT_TRUE(open("looks.m4a", ExportType::M4A));
    QElapsedTimer timer;
    timer.start();
    for (size_t looks = 1; looks <= 5; ++looks) {
        device.tone();
        EXPECT_TRUE(waitUntil([&] { return heard.signalled.size() > looks; }));
    }
    EXPECT_LT(timer.elapsed(), 3000); // ten times a second, where once would take five
    device.silences(27);
    EXPECT_TRUE(waitUntil([&] { return heard.silences.size() == 1; }));
    device.tone();
    EXPECT_TRUE(waitUntil([&] { return heard.signalled.size() == 35; })); // one more at the split
    device.tone();
    engine.stopRecordAudio();
    EXPECT_TRUE(waitUntil([&] { return heard.signalled.size() == 36; }));
    device.tone(); // of a unit that does not run
    EXPECT_FALSE(waitUntil([&] { return heard.signalled.size() > 36; }, /*milliseconds=*/200));
}

TEST_F(AudioRecordTest, KeepsAllSilenceWhenTheMainThreadNeverAnswersAndHoldsNoneThatNobodyCutsAt) {
    engine.setAutoSplitTimeForMillisecond(300);
    for (const bool cuts : {true, false}) {
        engine.setCutsAtSilence(cuts);
        ASSERT_TRUE(open("alone.m4a", ExportType::M4A));
        device.tone();
        const int blocks = cuts ? 600 : 400; // the file takes in 512 at once
        device.silences(blocks - 1);
        heard.signalled.clear();
        engine.deliverReports();
        EXPECT_EQ(heard.signalled.size(), blocks - (cuts ? 512 : 0) + 1u); // one more at the split
        engine.stopRecordAudioFile();
        EXPECT_EQ(decodeAudio(inHome("alone.m4a")).frames(), blocks * kBlockFrames);
    }
}

TEST_F(AudioRecordTest, AGrowingM4aSurvivesTheDeathOfTheProgram) {
    ASSERT_TRUE(open("growing.m4a", ExportType::M4A));
    tone(400); // 4.6 s
    const QString growing = inHome("growing.m4a");
    // What stands on the disk now is what a killed process would leave.
    ASSERT_TRUE(waitUntil([&] { return QFileInfo(growing).size() > 30'000; }));
    const QString left = inHome("left behind.m4a");
    ASSERT_TRUE(waitUntil([&] {
        QFile::remove(left);
        return QFile::copy(growing, left) && decodeAudio(left).frames() >= 3u * kSampleRate;
    }));
    av_max_alloc(64'000); // as the guard against counts that lie would limit a recording of a day
    engine.stopRecordAudioFile();
    av_max_alloc(INT_MAX);
    EXPECT_TRUE(synced.contains("growing.m4a.part")); // before it took the name
    EXPECT_EQ(decodeAudio(growing).frames(), 400u * kBlockFrames);
    EXPECT_FALSE(QFile::exists(growing + ".part"));
    QFile file(growing);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_FALSE(file.readAll().contains("moof"));
}

TEST_F(AudioRecordTest, AFullDiskStopsTheFileIsToldOnceAndCostsNothingThatWasWritten) {
    const NoRoomOnDisk noRoom(100'000);
    for (const auto &[name, type] : {std::pair{"full.mp3", ExportType::MP3}, std::pair{"full.m4a", ExportType::M4A}}) {
        SCOPED_TRACE(name);
        heard.failures.clear();
        heard.finished.clear();
        ASSERT_TRUE(open(name, type));
        ASSERT_TRUE(waitUntil([&] {
            noise(10);
            return !heard.failures.isEmpty();
        }));
        noise(50); // goes on coming until somebody stops
        engine.stopRecordAudioFile();
        EXPECT_EQ(heard.failures, QStringList{inHome(name)});
        EXPECT_EQ(heard.finished, QStringList{inHome(name)});
        EXPECT_GT(decodeAudio(inHome(name)).frames(), 1u * kSampleRate);
    }
}
