// The capture device and the input unit on real sound servers, each with a microphone as the default input: whatever
// happens, not one sample of it may come out.
#include "capture/CaptureDevice.h"
#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "demo/SongStream.h"
#include "platform/run/HostTime.h"
#include "platform/run/Log.h"
#include "platform/sound/PulseInputUnit.h"
#include "platform/sound/SoundServer.h"
#include "support/MadeAudio.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <random>

namespace {
thread_local bool isAudioThread = false;
std::atomic<int> audioAllocations = 0;
} // namespace

void *operator new(size_t size) {
    if (isAudioThread)
        ++audioAllocations;
    void *memory = std::malloc(size); // NOLINT
    if (!memory)
        throw std::bad_alloc();
    return memory;
}
void *operator new(size_t size, const std::nothrow_t &) noexcept {
    return std::malloc(size); // NOLINT; of the test library's own sorting, never on the audio thread
}
// Not inline, lest the compiler takes the pair of new and free() for a mistake.
[[gnu::noinline]] void operator delete(void *memory) noexcept { std::free(memory); }         // NOLINT
[[gnu::noinline]] void operator delete(void *memory, size_t) noexcept { std::free(memory); } // NOLINT

namespace {

using Kind = PrivateSoundServer::Kind;
using Samples = std::vector<int16_t>; // interleaved

/// Keeps what the unit delivers.
class Ear final : public InputUnitClient {
public:
    Ear() { heard_.reserve(120 * 2 * kSampleRate); }

    Status AudioInputProc(const InputSlice &slice) noexcept override {
        isAudioThread = true;
        const std::lock_guard guard(lock_);
        areSlicesWhole = areSlicesWhole && slice.frames == kBlockFrames && slice.status == 0;
        if (lastTime_ != 0) {
            const auto apart = static_cast<double>(slice.hostTime - lastTime_);
            jumps += std::abs(apart - kSecondsPerBlock * 1e9) > 117'000 ? 1 : 0;
        }
        lastTime_ = slice.hostTime;
        const uint64_t now = AudioGetCurrentHostTime();
        burst_ = now - lastArrival_ < 5'000'000 ? burst_ + 1 : 1;
        lastArrival_ = now;
        longestBurst = std::max<int>(longestBurst, burst_);
        blocks += 1;
        for (uint32_t i = 0; i < slice.frames && heard_.size() + 2 <= heard_.capacity(); ++i) {
            heard_.push_back(slice.left[i]);
            heard_.push_back(slice.right[i]);
        }
        return 0;
    }

    /// Keeps the audio thread in its callback while the result lives.
    std::unique_lock<std::mutex> stall() { return std::unique_lock(lock_); }

    /// Everything from the first sample that is not silent to the last, as the 16-bit samples that were played.
    Samples heard() {
        const std::lock_guard guard(lock_);
        const auto isSound = [](float sample) { return sample != 0.0F; };
        const auto begin = std::find_if(heard_.begin(), heard_.end(), isSound);
        const auto end = std::find_if(heard_.rbegin(), std::make_reverse_iterator(begin), isSound).base();
        Samples samples;
        for (auto sample = begin; sample != end; ++sample)
            samples.push_back(static_cast<int16_t>(*sample * 32768.0F));
        return samples;
    }

    std::atomic<int> blocks = 0, jumps = 0;
    std::atomic<int> longestBurst = 0; ///< the most blocks that came at once
    std::atomic<bool> areSlicesWhole = true;

private:
    std::mutex lock_;
    std::vector<float> heard_;
    uint64_t lastTime_ = 0;
    uint64_t lastArrival_ = 0;
    int burst_ = 0;
};

/// A second of noise without a silent sample, so that its beginning and end show.
Samples noise(unsigned seed) {
    std::minstd_rand random(seed);
    Samples samples(2 * kSampleRate);
    for (int16_t &sample : samples)
        sample = static_cast<int16_t>(1 + random() % 20'000);
    return samples;
}

/// The samples without the silent ones.
Samples audible(Samples samples) {
    std::erase(samples, 0);
    return samples;
}

QMap<QString, QByteArray> filesBelow(const QString &folder) {
    QMap<QString, QByteArray> files;
    QDirIterator iterator(folder, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        QFile file(iterator.next());
        files[file.fileName()] = file.open(QIODevice::ReadOnly) ? file.readAll() : "folder";
    }
    return files;
}

class CaptureDevice : public testing::TestWithParam<Kind> {
protected:
    CaptureDevice() {
        setLogSink([this](const QString &line) {
            const std::lock_guard guard(logLock_);
            log_ += line + '\n';
        });
    }

    ~CaptureDevice() override {
        unit_.reset();
        stopAudioDeviceWithClassName(kCaptureDeviceClass);
        setLogSink({});
    }

    void startServer() {
        ASSERT_TRUE(server_.start()) << qPrintable(server_.errorText());
        ASSERT_TRUE(server_.addMicrophone());
    }

    void startCapture() {
        ASSERT_EQ(launchAudioDeviceWithClassName(kCaptureDeviceClass), 1);
        unit_ = pulseInputUnitFactory()(ear_);
        ASSERT_TRUE(unit_->initialize(getInPutAudioDeviceIDForName(kCaptureDeviceName)));
        ASSERT_EQ(unit_->start(), 0);
        ASSERT_TRUE(waitForBlocks());
    }

    bool waitForBlocks() {
        return waitUntil([this, before = ear_.blocks.load()] { return ear_.blocks > before + 10; });
    }

    bool waitForLog(const QString &text) {
        return waitUntil([&] {
            const std::lock_guard guard(logLock_);
            return log_.contains(text);
        });
    }

    bool waitUntilPointed() {
        return waitUntil([] { return isHadLaunchedAudioDeviceWithClassName(kCaptureDeviceClass); });
    }

    /// Plays the noise of `seed` into `sink` and waits until all of it must have been heard.
    void play(unsigned seed, const QString &sink = PrivateSoundServer::kSink, bool isEarStalled = false) {
        const Samples samples = noise(seed);
        const QString wav = folder_.filePath("noise.wav");
        ASSERT_TRUE(writeWav({.samples = samples, .songs = {}}, wav));
        {
            const auto stalled = isEarStalled ? ear_.stall() : std::unique_lock<std::mutex>();
            ASSERT_TRUE(server_.play(wav, sink));
        }
        played_.insert(played_.end(), samples.begin(), samples.end());
        EXPECT_TRUE(waitUntil([this] { return audible(ear_.heard()).size() >= played_.size(); }));
    }

    int sourcesMade() {
        return static_cast<int>(server_.control({"list", "short", "sources"}).count("system_audio_recorder"));
    }

    QTemporaryDir folder_;
    PrivateSoundServer server_{GetParam(), folder_.filePath("server")};
    std::mutex logLock_;
    QString log_;
    Ear ear_;
    std::unique_ptr<InputUnit> unit_;
    Samples played_;
};

TEST_P(CaptureDevice, InstallsOnceAndLeavesNoTrace) {
    startServer();
    const QString script = folder_.filePath("server/config/pulse/default.pa");
    ASSERT_TRUE(QDir().mkpath(folder_.filePath("server/config/pulse")));
    makeFile(script, "load-module module-of-mine");
    const auto before = filesBelow(folder_.filePath("server/config"));

    EXPECT_FALSE(isInstallAudioDeviceWithClassName(kCaptureDeviceClass));
    EXPECT_FALSE(unInstallAudioDevice(kCaptureDriverBundleName));
    EXPECT_FALSE(installAudioDevice("AnotherDriver"));
    EXPECT_TRUE(installAudioDevice(kCaptureDriverName));
    EXPECT_TRUE(isInstallAudioDeviceWithClassName(kCaptureDeviceClass));
    EXPECT_NE(getInPutAudioDeviceIDForName(kCaptureDeviceName), 0U);
    EXPECT_EQ(getInPutAudioDeviceIDForName(""), 0U);
    EXPECT_NE(getDefaultInPutAudioDeviceID(), getInPutAudioDeviceIDForName(kCaptureDeviceName));
    EXPECT_EQ(getDefaultAuidoEnginePath(), "vspk.monitor");
    EXPECT_TRUE(isLaunchedRequiredAudioDevice("VirtualSpeakers"));
    EXPECT_FALSE(isLaunchedRequiredAudioDevice(kCaptureDeviceClass));
    EXPECT_NE(filesBelow(folder_.filePath("server/config")), before);

    if (GetParam() == Kind::PipeWire) { // PulseAudio's own start script would look for sound cards
        server_.kill();
        startServer();
        EXPECT_TRUE(waitUntil([this] { return sourcesMade() > 0; }));
    }
    EXPECT_EQ(launchAudioDeviceWithClassName(kCaptureDeviceClass), 1);
    EXPECT_TRUE(isHadLaunchedAudioDeviceWithClassName(kCaptureDeviceClass));
    EXPECT_EQ(sourcesMade(), 1);

    EXPECT_TRUE(unInstallAudioDevice(kCaptureDriverBundleName));
    EXPECT_FALSE(isInstallAudioDeviceWithClassName(kCaptureDeviceClass));
    EXPECT_EQ(getInPutAudioDeviceIDForName(kCaptureDeviceName), 0U);
    EXPECT_EQ(filesBelow(folder_.filePath("server/config")), before);
}

TEST_P(CaptureDevice, FollowsTheDefaultOutputWithoutAGap) {
    startServer();
    ASSERT_TRUE(server_.addSink("second"));
    startCapture();
    play(1);
    EXPECT_EQ(ear_.heard(), played_);
    ASSERT_TRUE(server_.setDefaultSink("second"));
    ASSERT_TRUE(waitUntilPointed());
    play(2, "second", /*isEarStalled=*/true);
    EXPECT_EQ(audible(ear_.heard()), played_);
    EXPECT_LE(ear_.longestBurst.load(), 18); // the end of one window and the beginning of the next
    EXPECT_EQ(ear_.jumps.load(), 0);
    EXPECT_TRUE(ear_.areSlicesWhole.load());
    EXPECT_EQ(audioAllocations, 0);
    EXPECT_FALSE(log_.contains("gap"));

    // The output itself goes away; the stream may break here, but never turns to the microphone.
    const QByteArray modules = server_.control({"list", "short", "modules"});
    for (const QByteArray &module : modules.split('\n')) {
        if (module.contains("sink_name=second")) {
            EXPECT_FALSE(server_.control({"unload-module", module.split('\t').first()}).isNull());
        }
    }
    ASSERT_TRUE(server_.setDefaultSink(PrivateSoundServer::kSink));
    ASSERT_TRUE(waitUntilPointed());
    ASSERT_TRUE(waitForBlocks());
    play(3);
    EXPECT_EQ(audible(ear_.heard()), played_);
}

TEST_P(CaptureDevice, GoesOnAfterTheSourceOrTheServerWasLost) {
    startServer();
    int deviceChanges = 0;
    SoundServer::defaultServer().setInputDevicesChanged([&](const auto &) { ++deviceChanges; });
    startCapture();
    ASSERT_FALSE(server_.control({"unload-module", "module-remap-source"}).isNull());
    EXPECT_TRUE(waitForLog("gap"));
    play(1);
    log_.clear();
    EXPECT_GT(deviceChanges, 0);

    server_.kill();
    EXPECT_TRUE(waitForLog("waiting"));
    EXPECT_EQ(launchAudioDeviceWithClassName(kCaptureDeviceClass), 0);
    startServer();
    EXPECT_TRUE(waitForLog("gap"));
    play(2);
    EXPECT_EQ(audible(ear_.heard()), played_);
    EXPECT_EQ(sourcesMade(), 1);
    EXPECT_EQ(audioAllocations, 0);
    EXPECT_EQ(unit_->stop(), 0);
    const int blocks = ear_.blocks.load();
    SoundServer::defaultServer().setInputDevicesChanged({});
    EXPECT_FALSE(server_.control({"list", "short", "sources"}).isNull());
    EXPECT_EQ(ear_.blocks.load(), blocks);
}

TEST_P(CaptureDevice, AnswersWithoutAServerAndWithOneThatHangs) {
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(launchAudioDeviceWithClassName(kCaptureDeviceClass), 0);
    EXPECT_EQ(getInPutAudioDeviceIDForName(kCaptureDeviceName), 0U);
    EXPECT_EQ(getDefaultAudioID(), 0U);
    EXPECT_FALSE(installAudioDevice(kCaptureDriverName));
    EXPECT_FALSE(pulseInputUnitFactory()(ear_)->initialize(1));
    EXPECT_LT(clock.elapsed(), 1000);

    // Whoever asks at each change of the devices is not answered by one more change.
    int deviceChanges = 0;
    SoundServer::defaultServer().setInputDevicesChanged([&](const auto &) {
        ++deviceChanges;
        EXPECT_EQ(getInPutAudioDeviceIDForName(kCaptureDeviceName), 0U);
    });
    EXPECT_FALSE(waitUntil([&] { return deviceChanges > 0; }, /*milliseconds=*/800));
    SoundServer::defaultServer().setInputDevicesChanged({});

    EXPECT_EQ(launchAudioDeviceWithClassName(kCaptureDeviceClass), 0);
    startServer();
    EXPECT_TRUE(waitUntilPointed());

    server_.suspend();
    clock.restart();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(getInPutAudioDeviceIDForName(kCaptureDeviceName), 0U);
    EXPECT_LT(clock.elapsed(), 3500);
    server_.resume();
    EXPECT_TRUE(waitUntil([] { return getInPutAudioDeviceIDForName(kCaptureDeviceName) != 0; }));
}

std::string kindName(const testing::TestParamInfo<Kind> &kind) {
    return kind.param == Kind::PulseAudio ? "PulseAudio" : "PipeWire";
}
INSTANTIATE_TEST_SUITE_P(, CaptureDevice, testing::Values(Kind::PulseAudio, Kind::PipeWire), kindName);

} // namespace
