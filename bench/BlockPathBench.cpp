// What a block of sound costs on its way through the engine: the audio thread's time from the fragment of the sound
// server to the end of AudioInputProc(), what that thread asked of the allocator, and what the main thread spends on
// hearing of it. The encoders' own threads are not counted.
//
//   block_path_bench [SECONDS]    for each state of each file, 5 by default
//
// Bounds: 99 of 100 blocks below 20 us of their 11,610; no call of the allocator. Exits with 1 when one is missed. The
// bound is put to the thread's own processor time, which stays true while others, an encoder among them, take the
// processor away; the time on the clock stands beside it.
//
// A virtual machine charges a thread for what its host does under it: interrupts, and memory that the host has to find
// again. So a second thread copies as many blocks at the same pace, between those of the engine, and does nothing else.
// Where not even its copies keep the bound, the machine is too noisy to judge the engine by; the program exits with 1
// then as well.
#include "AllocationCount.h"

#include "capture/AudioRecord.h"
#include "platform/run/HostTime.h"
#include "platform/run/Log.h"
#include "platform/sound/Reblocker.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <sys/resource.h>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace {

constexpr double kBoundMicroseconds = 20;
constexpr double kSlowShare = 0.01;      // of the blocks, may take longer
constexpr size_t kBlocksPerFragment = 9; // as the input unit asks for
constexpr size_t kFragmentFrames = kBlocksPerFragment * kBlockFrames;

/// What happens while the blocks come.
struct State {
    const char *name;
    int soundFragments; // then as many silent ones as told, and again
    int silentFragments;
    bool showsWave;
    bool isHeld; // the main thread holds the blocks back, a fifth of every second
};
constexpr State kStates[] = {
    {"sound", 1, 0, false, false},  {"sound displayed", 1, 0, true, false},
    {"silence", 0, 1, true, false}, {"splits", 10, 10, true, false},
    {"holds", 1, 0, true, true},
};

struct FileKind {
    const char *name;
    bool isOpen;
    ExportType type;
};
constexpr FileKind kFileKinds[] = {
    {"none", false, ExportType::M4A}, {"M4A", true, ExportType::M4A}, {"MP3", true, ExportType::MP3}};

struct NoUnit final : InputUnit {
    bool initialize(DeviceID) override { return true; }
    Status start() override { return 0; }
    Status stop() override { return 0; }
};

/// The engine with a session around it that cuts at silence.
class Session final : AudioRecordDelegate, AudioPCMWaveDelegate {
public:
    Session(const FileKind &kind, bool showsWave)
        : kind_(kind), engine_([](InputUnitClient &) { return std::make_unique<NoUnit>(); }) {
        engine_.configureAudioUnit(1);
        engine_.setAutoSplitTimeForMillisecond(300);
        engine_.setDelegate(this);
        if (showsWave)
            engine_.setDelegatePCMWave(this);
        open();
        engine_.startRecordAudio();
    }
    ~Session() {
        engine_.stopRecordAudio();
        engine_.setDelegate(nullptr);
    }

    AudioRecord &engine() { return engine_; }
    int splits() const { return splits_; }

private:
    void recordingTimeForAudioIsNull(float) override {
        ++splits_;
        const AudioRecord::BlockHold hold(engine_);
        engine_.stopRecordAudioFile();
        open();
    }
    void notifyRecordedFinish(const QString &path) override { QFile::remove(path); }
    void sendAudioDataProc(const float *, const float *, uint32_t) override {}

    void open() {
        if (!kind_.isOpen)
            return;
        const QString path = folder_.filePath(QString::number(++files_) + ".m4a");
        engine_.setRecordingFile(path, kind_.type, /*forBitRate=*/256'000, /*forDeviceID=*/1);
        if (!engine_.isRecording())
            std::abort();
    }

    const FileKind kind_;
    const QTemporaryDir folder_;
    AudioRecord engine_;
    int files_ = 0;
    int splits_ = 0;
};

double cpuMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

/// How often this thread gave the processor away by itself: waits for a lock, above all.
long waitsSoFar() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

struct Figures {
    std::vector<double> cpu;   // microseconds per block, sorted
    std::vector<double> clock; // the same
    uint64_t allocatorCalls = 0;
    long waits = 0; // within blocks
};

double share(const std::vector<double> &sorted, double part) {
    return sorted[static_cast<size_t>(part * static_cast<double>(sorted.size() - 1))];
}

double shareOfSlow(const std::vector<double> &sorted) {
    const auto slow = sorted.end() - std::lower_bound(sorted.begin(), sorted.end(), kBoundMicroseconds);
    return static_cast<double>(slow) / static_cast<double>(sorted.size());
}

std::vector<float> makeFragment(double loudness) {
    std::vector<float> samples(2 * kFragmentFrames);
    for (size_t i = 0; i < samples.size(); ++i) {
        const auto time = static_cast<double>(i);
        samples[i] = static_cast<float>(loudness * (std::sin(0.05 * time) + std::sin(0.31 * time)));
    }
    return samples;
}

constexpr std::chrono::nanoseconds kPace(static_cast<int64_t>(kSecondsPerBlock * 1e9 * kBlocksPerFragment));

/// The share of bare copies of a block that take longer than the bound.
double copyBlocks(int seconds) {
    const std::vector<float> sound = makeFragment(0.4);
    std::vector<float> queue(static_cast<size_t>(4) * 2 * kFragmentFrames);
    std::vector<double> cpu;
    auto due = std::chrono::steady_clock::now() + kPace / 2;
    const auto end = due + std::chrono::seconds(seconds);
    for (size_t place = 0; due < end; place = (place + 2 * kFragmentFrames) % queue.size()) {
        std::this_thread::sleep_until(due += kPace);
        for (size_t block = 0; block < kBlocksPerFragment; ++block) {
            const double before = cpuMicroseconds();
            const size_t at = 2 * block * kBlockFrames;
            std::copy_n(sound.data() + at, 2 * kBlockFrames, queue.data() + place + at);
            cpu.push_back(cpuMicroseconds() - before);
        }
    }
    std::sort(cpu.begin(), cpu.end());
    return shareOfSlow(cpu);
}

/// The audio thread: fragments at the pace of the sound, each cut into blocks at once.
Figures feed(AudioRecord &engine, const State &state, int seconds) {
    const std::vector<float> sound = makeFragment(0.4);
    const std::vector<float> silence = makeFragment(0);
    const auto fragments = static_cast<int>(std::chrono::seconds(seconds) / kPace);
    Figures figures;
    figures.cpu.reserve(static_cast<size_t>(fragments) * kBlocksPerFragment);
    figures.clock.reserve(static_cast<size_t>(fragments) * kBlocksPerFragment);
    Reblocker reblocker;
    auto due = std::chrono::steady_clock::now();
    for (int i = 0; i < fragments; ++i) {
        std::this_thread::sleep_until(due += kPace);
        const bool isSound = i % (state.soundFragments + state.silentFragments) < state.soundFragments;
        const float *samples = isSound ? sound.data() : silence.data();
        const long waitsBefore = waitsSoFar();
        countAllocatorCalls(true);
        reblocker.beginChunk(AudioGetCurrentHostTime());
        for (size_t block = 0; block < kBlocksPerFragment; ++block) {
            cpuMicroseconds(); // the first call after a sleep costs several microseconds itself
            const uint64_t clockBefore = AudioGetCurrentHostTime();
            const double cpuBefore = cpuMicroseconds();
            reblocker.take(samples + 2 * block * kBlockFrames, kBlockFrames);
            engine.AudioInputProc(reblocker.slice());
            figures.cpu.push_back(cpuMicroseconds() - cpuBefore);
            figures.clock.push_back(static_cast<double>(AudioGetCurrentHostTime() - clockBefore) * 1e-3);
        }
        countAllocatorCalls(false);
        figures.waits += waitsSoFar() - waitsBefore;
    }
    figures.allocatorCalls = countedAllocatorCalls();
    std::sort(figures.cpu.begin(), figures.cpu.end());
    std::sort(figures.clock.begin(), figures.clock.end());
    return figures;
}

/// Runs one state and prints its line; true when the bounds were kept.
bool measure(const FileKind &kind, const State &state, int seconds) {
    Session session(kind, state.showsWave);
    std::optional<AudioRecord::BlockHold> hold;
    QTimer holdTimer;
    QObject::connect(&holdTimer, &QTimer::timeout, [&] {
        if (hold)
            hold.reset();
        else
            hold.emplace(session.engine());
        holdTimer.setInterval(hold ? 200 : 800);
    });
    if (state.isHeld)
        holdTimer.start(800);
    Figures figures;
    QEventLoop loop;
    const double mainBefore = cpuMicroseconds();
    std::thread audio([&] {
        figures = feed(session.engine(), state, seconds);
        QMetaObject::invokeMethod(
            &loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
    });
    double noise = 0;
    std::thread bareCopies([&] { noise = copyBlocks(seconds); });
    loop.exec();
    audio.join();
    bareCopies.join();
    const double mainCpu = (cpuMicroseconds() - mainBefore) / static_cast<double>(figures.cpu.size());

    const double slow = shareOfSlow(figures.cpu);
    const bool isKept = slow < kSlowShare && figures.allocatorCalls == 0;
    const bool isNoisy = noise >= kSlowShare && figures.allocatorCalls == 0;
    std::printf("%-4s  %-16s %6zu  %6.2f %6.2f %6.2f %6.2f  %5.2f %5.2f  %7.2f  %5ld %5llu  %6.2f %6d  %s\n", kind.name,
                state.name, figures.cpu.size(), share(figures.cpu, 0.5), share(figures.cpu, 0.9),
                share(figures.cpu, 0.99), share(figures.cpu, 1), 100 * slow, 100 * noise, share(figures.clock, 0.99),
                figures.waits, static_cast<unsigned long long>(figures.allocatorCalls), mainCpu, session.splits(),
                isKept    ? "kept"
                : isNoisy ? "noise"
                          : "MISSED");
    std::fflush(stdout);
    return isKept;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    av_log_set_level(AV_LOG_ERROR);
    setLogSink([](const QString &) {});
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 5;
    if (seconds < 1) {
        std::fputs("usage: block_path_bench [SECONDS]\n", stderr);
        return 2;
    }
    std::printf(
        "Microseconds per block; a block lasts 11,610. Bounds: at most %.0f %% of the blocks take %.0f or more of CPU, "
        "alloc 0.\n"
        "p50 to max: CPU of the audio thread; slow: per cent of the blocks at or above the bound; copies: the\n"
        "same of bare copies of blocks, the machine's noise; waits: for a lock; alloc: calls of the\n"
        "allocator; main: mean CPU of the main thread, with the closing and opening of files\n\n",
        100 * kSlowShare, kBoundMicroseconds);
    std::printf("%-4s  %-16s %6s  %6s %6s %6s %6s  %5s %5s  %7s  %5s %5s  %6s %6s\n", "file", "state", "blocks", "p50",
                "p90", "p99", "max", "slow", "copies", "clock99", "waits", "alloc", "main", "splits");
    bool isKept = true;
    for (const FileKind &kind : kFileKinds)
        for (const State &state : kStates)
            isKept = measure(kind, state, seconds) && isKept;
    return isKept ? 0 : 1;
}
