// What recording costs: processor time of the whole program with its window shown and of the sound server beside it,
// against ffmpeg recording the same stream, one recorder at a time; and the program's memory and its work at rest. Then
// what the moving scene and the bars add to a recording: the program with its window seen, and covered by another.
//
//   recording_cost [--server pulseaudio|pipewire] [--seconds 20] [--rounds 3] [--scene]
//
// Bounds: program and server together take no more than ffmpeg and server together, the aim is 0.7 of it; memory at
// most 80 MiB idle and 110 recording; below 1 % of a core idle, the capture stream aside; the scene at most 4 % of a
// core at scale 1 and 8 % at scale 2, the bars' own thread 0.4 %. With --scene only these. Exits with 1 when one is
// missed. Everything runs on a private machine. Load from elsewhere makes all of them dearer, so only figures of one
// run are to be compared; the recorders take turns, so that a change of the load meets both.
#include "ProcessorTime.h"
#include "ResidentMemory.h"
#include "demo/PrivateMachine.h"
#include "demo/RunningProgram.h"
#include "demo/SongStream.h"
#include "platform/run/UserDefaults.h"
#include "platform/sound/AudioTypes.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSize>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <xcb/xcb.h>

namespace {

constexpr int kSettleSeconds = 3;
constexpr int kIdleSeconds = 20;
constexpr double kIdleMemoryBound = 80;       // MiB
constexpr double kRecordingMemoryBound = 110; // MiB
constexpr double kIdleBound = 1;              // percent of a core
constexpr double kFeedBound = 0.4;            // percent of a core
constexpr struct {
    int scale;
    double bound; // percent of a core
} kScenes[] = {{1, 4}, {2, 8}};
constexpr QSize kDisplay(2000, 1440); // the window at scale 2

/// The second and the third song of the stream again and again, without a gap: nothing to cut.
SongStream makeMusic(int seconds) {
    const SongStream songs = makeSongStream();
    const auto sample = [&](size_t frame) { return songs.samples.begin() + static_cast<ptrdiff_t>(2 * frame); };
    SongStream music;
    while (music.frames() < static_cast<size_t>(seconds) * kSampleRate)
        for (const size_t song : {1, 2})
            music.samples.insert(music.samples.end(), sample(songs.songs[song].firstFrame),
                                 sample(songs.songs[song].endFrame));
    return music;
}

/// A window over everything else.
class CoveringWindow {
public:
    CoveringWindow() {
        const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(display_.get())).data;
        const uint32_t isUnmanaged = 1;
        xcb_create_window(display_.get(), XCB_COPY_FROM_PARENT, window_, screen.root, 0, 0, screen.width_in_pixels,
                          screen.height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                          XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
        xcb_map_window(display_.get(), window_);
        xcb_flush(display_.get());
    }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> display_{xcb_connect(nullptr, nullptr),
                                                                          &xcb_disconnect};
    xcb_window_t window_ = xcb_generate_id(display_.get());
};

struct Cost {
    double recorder = 0, server = 0;      // seconds of processor time
    std::map<QByteArray, double> threads; // the recorder's, by name
    double sum() const { return recorder + server; }
};

class Measurement {
public:
    Measurement(PrivateMachine &machine, int seconds, int rounds)
        : machine_(machine), seconds_(seconds), rounds_(rounds) {}

    QString run() {
        music_ = machine_.filePath("music.wav");
        if (!writeWav(makeMusic(seconds_ + 3 * kSettleSeconds), music_))
            return music_ + " cannot be written";
        std::printf("CPU seconds           recorder   server      sum   per minute   per hour   program/ffmpeg\n");
        const struct {
            ExportType type;
            const char *name;
            const char *encoder;
            const char *ending;
        } formats[] = {{ExportType::M4A, "M4A", "aac", "m4a"}, {ExportType::MP3, "MP3", "libmp3lame", "mp3"}};
        for (const auto &[type, name, encoder, ending] : formats) {
            Cost program, ffmpeg;
            for (int round = 0; round < rounds_; ++round) {
                if (QString error = recordWithProgram(type, program); !error.isNull())
                    return error;
                if (QString error = recordWithFfmpeg(encoder, ending, ffmpeg); !error.isNull())
                    return error;
            }
            print(QString("Corvidia %1").arg(name), program);
            std::printf("\n");
            for (const auto &[thread, spent] : program.threads)
                if (spent > 0)
                    std::printf("  %-18s  %8.3f\n", thread.constData(), spent);
            print(QString("ffmpeg %1").arg(encoder), ffmpeg);
            const double ratio = program.sum() / ffmpeg.sum();
            std::printf("   %.2f (at most 1, aim 0.7) %s\n", ratio, verdict(ratio <= 1));
            std::fflush(stdout);
        }
        std::printf("\nIdle: %.1f MiB (at most %.0f) %s; %.2f %% of a core, %.2f %% without the capture stream "
                    "(below %.0f %%) %s\n",
                    idleMemory_, kIdleMemoryBound, verdict(idleMemory_ <= kIdleMemoryBound), idleShare_,
                    idleShareWithoutCapture_, kIdleBound, verdict(idleShareWithoutCapture_ < kIdleBound));
        std::printf("Recording: %.1f MiB (at most %.0f) %s\n", recordingMemory_, kRecordingMemoryBound,
                    verdict(recordingMemory_ <= kRecordingMemoryBound));
        return {};
    }

    /// What moves, at each scale.
    QString runScenes() {
        music_ = machine_.filePath("music.wav");
        if (!writeWav(makeMusic((2 * seconds_ + 4 * kSettleSeconds) * rounds_), music_))
            return music_ + " cannot be written";
        for (const auto &[scale, bound] : kScenes) {
            Cost seen, covered;
            qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
            const QString error = recordSeenAndCovered(seen, covered);
            qunsetenv("QT_SCALE_FACTOR");
            if (!error.isNull())
                return error;
            const double percent = 100.0 / (rounds_ * seconds_);
            // Without the encoder, whose work is the same in both and swings with the machine's load by more than that.
            double scene = (seen.recorder - covered.recorder) * percent;
            scene -= (seen.threads["M4A-writer"] - covered.threads["M4A-writer"]) * percent;
            std::printf("Scale %d: %.2f %% of a core seen, %.2f %% covered; the scene %.2f %% (at most %.0f) %s\n",
                        scale, seen.recorder * percent, covered.recorder * percent, scene, bound,
                        verdict(scene <= bound));
            const double feed = seen.threads["Trans-Thread"] * percent;
            std::printf("         the bars' thread %.2f %% (at most %.1f) %s, covered %.2f %%\n", feed, kFeedBound,
                        verdict(feed <= kFeedBound), covered.threads["Trans-Thread"] * percent);
            for (const auto &[thread, spent] : seen.threads)
                if (spent * percent >= 0.1)
                    std::printf("           %-18s %6.2f %%, covered %6.2f %%\n", thread.constData(), spent * percent,
                                covered.threads[thread] * percent);
            std::fflush(stdout);
        }
        return {};
    }

    bool isKept() const { return isKept_; }

private:
    const char *verdict(bool isKept) {
        isKept_ = isKept_ && isKept;
        return isKept ? "kept" : "MISSED";
    }

    void print(const QString &name, const Cost &cost) const {
        std::printf("%-20s  %8.2f %8.2f %8.2f   %10.2f %10.1f", qPrintable(name), cost.recorder, cost.server,
                    cost.sum(), cost.sum() * 60 / (rounds_ * seconds_), cost.sum() * 3600 / (rounds_ * seconds_));
    }

    Cost spentSoFar(qint64 recorder) {
        Cost cost{cpuSeconds(recorder), 0, cpuSecondsByThread(recorder)};
        for (const pid_t process : machine_.sound().processes())
            cost.server += cpuSeconds(process);
        return cost;
    }

    /// Adds what is spent from now on to `cost`.
    void measure(qint64 recorder, Cost &cost) {
        QThread::sleep(kSettleSeconds);
        const Cost before = spentSoFar(recorder);
        QThread::sleep(static_cast<unsigned long>(seconds_));
        const Cost after = spentSoFar(recorder);
        cost.recorder += after.recorder - before.recorder;
        cost.server += after.server - before.server;
        for (const auto &[thread, seconds] : after.threads) {
            const auto earlier = before.threads.find(thread);
            cost.threads[thread] += seconds - (earlier == before.threads.end() ? 0 : earlier->second);
        }
    }

    /// Plays until the answer goes.
    std::unique_ptr<QProcess> startMusic() const {
        auto player = std::make_unique<QProcess>();
        endWithParent(*player);
        player->start("paplay", {QString("--device=") + PrivateSoundServer::kSink, music_});
        return player;
    }

    QString recordWithProgram(ExportType type, Cost &cost) {
        UserDefaults &defaults = UserDefaults::standardUserDefaults();
        defaults.setInteger(static_cast<qint64>(type), "DefaultExportFileType");
        defaults.setInteger(0, "DefaultERecordQualityType"); // 256 kbit/s
        defaults.synchronize();
        const QString log = machine_.filePath("corvidia.log");
        RunningProgram program(QCoreApplication::applicationDirPath() + "/Corvidia", log);
        if (!program.isReady() || !waitUntil([&] { return program.count(RunningProgram::kFirstSlice) >= 1; }))
            return "the program did not come up";
        if (idleMemory_ == 0)
            measureIdle(program.processId());
        if (!program.startRecording())
            return "no sound arrived from the capture device";
        const auto player = startMusic();
        measure(program.processId(), cost);
        recordingMemory_ = std::max(recordingMemory_, residentMebibytes(program.processId()));
        player->kill();
        player->waitForFinished();
        if (!program.activateAction("quit") || !program.endsWell())
            return "the program did not end as it should";
        return {};
    }

    QString recordSeenAndCovered(Cost &seen, Cost &covered) {
        RunningProgram program(QCoreApplication::applicationDirPath() + "/Corvidia", machine_.filePath("corvidia.log"));
        if (!program.isReady() || !program.startRecording())
            return "the program did not come up or no sound arrived from the capture device";
        const auto player = startMusic();
        for (int round = 0; round < rounds_; ++round) {
            measure(program.processId(), seen);
            const CoveringWindow cover;
            measure(program.processId(), covered);
        }
        player->kill();
        player->waitForFinished();
        return program.activateAction("quit") && program.endsWell() ? QString()
                                                                    : "the program did not end as it should";
    }

    void measureIdle(qint64 program) {
        QThread::sleep(kSettleSeconds);
        const auto before = cpuSecondsByThread(program);
        QThread::sleep(kIdleSeconds);
        for (const auto &[thread, spent] : cpuSecondsByThread(program)) {
            const auto earlier = before.find(thread);
            const double share = (spent - (earlier == before.end() ? 0 : earlier->second)) * 100 / kIdleSeconds;
            idleShare_ += share;
            idleShareWithoutCapture_ += thread == "Audio" ? 0 : share;
        }
        idleMemory_ = residentMebibytes(program);
    }

    QString recordWithFfmpeg(const QString &encoder, const QString &ending, Cost &cost) {
        // The capture device stands aside, so that it does not cost here.
        machine_.sound().control({"unload-module", "module-remap-source"});
        QProcess ffmpeg;
        endWithParent(ffmpeg);
        ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        ffmpeg.start("ffmpeg", {"-nostdin", "-v", "error", "-f", "pulse", "-sample_rate", "44100", "-channels", "2",
                                "-i", QString(PrivateSoundServer::kSink) + ".monitor", "-c:a", encoder, "-b:a", "256k",
                                "-y", machine_.filePath("ffmpeg." + ending)});
        if (!ffmpeg.waitForStarted())
            return "ffmpeg did not start";
        const auto player = startMusic();
        measure(ffmpeg.processId(), cost);
        if (ffmpeg.state() != QProcess::Running)
            return "ffmpeg ended early";
        ffmpeg.terminate();
        ffmpeg.waitForFinished();
        player->kill();
        player->waitForFinished();
        return {};
    }

    PrivateMachine &machine_;
    const int seconds_;
    const int rounds_;
    QString music_;
    double idleMemory_ = 0, recordingMemory_ = 0;        // MiB
    double idleShare_ = 0, idleShareWithoutCapture_ = 0; // percent of a core
    bool isKept_ = true;
};

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions({{"server", "Sound server: pulseaudio or pipewire.", "server", "pulseaudio"},
                        {"seconds", "Seconds of each measurement.", "seconds", "20"},
                        {"rounds", "Measurements of each recorder.", "rounds", "3"},
                        {"scene", "Only the scene."}});
    options.process(application);
    const int seconds = options.value("seconds").toInt();
    const int rounds = options.value("rounds").toInt();
    const QString server = options.value("server");
    if (seconds < 1 || rounds < 1 || (server != "pulseaudio" && server != "pipewire"))
        options.showHelp(2);

    PrivateMachine machine(
        server == "pipewire" ? PrivateSoundServer::Kind::PipeWire : PrivateSoundServer::Kind::PulseAudio, kDisplay);
    qputenv("HOME", machine.filePath("home").toUtf8());
    QString error = machine.start();
    Measurement measurement(machine, seconds, rounds);
    if (error.isNull() && !options.isSet("scene"))
        error = measurement.run();
    if (error.isNull())
        error = measurement.runScenes();
    if (!error.isNull()) {
        std::fprintf(stderr, "recording_cost: %s\n", qPrintable(error));
        return 2;
    }
    return measurement.isKept() ? 0 : 1;
}
