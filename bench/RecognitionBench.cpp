// How long the fingerprint of a track takes, decoding included, beside the fpcalc command where that is installed.
// The goal is 35 ms for 30 seconds.
#include "identify/recognition/Fingerprint.h"
#include "tags/audio/AudioConverter.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

/// Music as far as a fingerprint is concerned: three voices whose notes change, over noise.
constexpr const char *kMusic = "aevalsrc='0.2*sin(2*PI*t*110*pow(2,floor(mod(t*2,8))/12))+0.2*sin(2*PI*t*330*"
                               "pow(2,floor(mod(t*3,7))/12))+0.05*(random(0)-0.5)':d=180:s=44100,"
                               "aformat=channel_layouts=stereo";

class Track {
public:
    Track(benchmark::State &state, const char *name) : path(folder_.filePath(QString::fromLatin1(name))) {
        AudioConverter::Initialize({});
        if (QProcess::execute("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", kMusic, path}) != 0)
            state.SkipWithError("ffmpeg could not make the file");
    }

private:
    QTemporaryDir folder_;

public:
    const QString path;
};

void FingerprintOfFile(benchmark::State &state, const char *name) {
    const Track track(state, name);
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(fingerprintOfFile(track.path, std::chrono::seconds(state.range(0)), {}));
}
BENCHMARK_CAPTURE(FingerprintOfFile, M4A, "track.m4a")->Arg(30)->Arg(120)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FingerprintOfFile, MP3, "track.mp3")->Arg(30)->Arg(120)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FingerprintOfFile, WAV, "track.wav")->Arg(30)->Arg(120)->Unit(benchmark::kMillisecond);

void Fpcalc(benchmark::State &state, const char *name) {
    const Track track(state, name);
    if (QStandardPaths::findExecutable("fpcalc").isEmpty())
        state.SkipWithError("fpcalc is not installed");
    for ([[maybe_unused]] auto iteration : state)
        QProcess::execute("fpcalc", {"-length", QString::number(state.range(0)), track.path});
}
BENCHMARK_CAPTURE(Fpcalc, M4A, "track.m4a")->Arg(30)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
