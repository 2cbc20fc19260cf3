// How long the fingerprint of a track takes, decoding included: the goal is 35 ms for 30 seconds. Beside it what it is
// made of, on the same sound (decoding; with resampling; the fingerprint of samples that are ready), and the fpcalc
// command where that is installed. How long a fingerprint is looked for in the library.
#include "identify/local/FingerprintLibrary.h"
#include "identify/recognition/Fingerprint.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioSource.h"
#include "tags/audio/FrameResampler.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chromaprint.h>
#include <limits>
#include <random>

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

constexpr int kRate = 11025;

using Filter = FrameResampler::Filter;

/// Decodes so many seconds and, if it is wanted, gives them to `sink` as the fingerprint takes them.
void decode(const QString &path, int64_t seconds, const FrameResampler::Sink &sink, Filter filter = Filter::Coarse) {
    const auto source = AudioSource::open(path);
    if (!source || !source->openDecoder(/*isTrimmed=*/true))
        return;
    FrameResampler resampler(kRate, /*channels=*/1, sink, filter);
    int64_t missing = seconds;
    for (int64_t samples = 0; missing > 0; missing = seconds - samples / source->stream()->codecpar->sample_rate) {
        const AVFrame *frame = source->nextFrame(std::numeric_limits<int>::max());
        if (!frame || (sink && !resampler.add(*frame, *source->stream())))
            return;
        samples += frame->nb_samples;
    }
}

void OnlyDecoding(benchmark::State &state, const char *name) {
    const Track track(state, name);
    for ([[maybe_unused]] auto iteration : state)
        decode(track.path, state.range(0), /*sink=*/{});
}
BENCHMARK_CAPTURE(OnlyDecoding, M4A, "track.m4a")->Arg(1)->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OnlyDecoding, MP3, "track.mp3")->Arg(1)->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OnlyDecoding, WAV, "track.wav")->Arg(1)->Arg(30)->Unit(benchmark::kMillisecond);

void DecodingAndResampling(benchmark::State &state, const char *name, Filter filter = Filter::Coarse) {
    const Track track(state, name);
    int64_t sum = 0;
    for ([[maybe_unused]] auto iteration : state)
        decode(
            track.path, state.range(0),
            [&sum](const int16_t *samples, qint64) {
                sum += *samples;
                return true;
            },
            filter);
    benchmark::DoNotOptimize(sum);
}
BENCHMARK_CAPTURE(DecodingAndResampling, M4A, "track.m4a")->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DecodingAndResampling, MP3, "track.mp3")->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DecodingAndResampling, WAV, "track.wav")->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(DecodingAndResampling, WAV_for_ears, "track.wav", Filter::Exact)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond);

/// The library that makes the fingerprint, alone.
void ReadySamples(benchmark::State &state) {
    const Track track(state, "track.wav");
    std::vector<int16_t> ready;
    decode(track.path, state.range(0), [&ready](const int16_t *samples, qint64 frames) {
        ready.insert(ready.end(), samples, samples + frames);
        return true;
    });
    for ([[maybe_unused]] auto iteration : state) {
        ChromaprintContext *context = chromaprint_new(CHROMAPRINT_ALGORITHM_DEFAULT);
        chromaprint_start(context, kRate, /*num_channels=*/1);
        chromaprint_feed(context, ready.data(), static_cast<int>(ready.size()));
        chromaprint_finish(context);
        chromaprint_free(context);
    }
}
BENCHMARK(ReadySamples)->Arg(30)->Unit(benchmark::kMillisecond);

void Fpcalc(benchmark::State &state, const char *name) {
    const Track track(state, name);
    if (QStandardPaths::findExecutable("fpcalc").isEmpty())
        state.SkipWithError("fpcalc is not installed");
    for ([[maybe_unused]] auto iteration : state)
        QProcess::execute("fpcalc", {"-length", QString::number(state.range(0)), track.path});
}
BENCHMARK_CAPTURE(Fpcalc, M4A, "track.m4a")->Arg(30)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Fpcalc, MP3, "track.mp3")->Arg(30)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Fpcalc, WAV, "track.wav")->Arg(30)->Unit(benchmark::kMillisecond)->UseRealTime();

/// A minute of a song, as far as the search is concerned: each number keeps most bits of the one before.
std::vector<uint32_t> madeItems(uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<uint32_t> items{static_cast<uint32_t>(random())};
    while (items.size() < FingerprintLibrary::kMostItems)
        items.push_back(items.back() ^ 1U << random() % 32 ^ 1U << random() % 32 ^ (random() % 4 ? 0 : random()));
    return items;
}

/// Among so many tracks; the goal is 50 ms among 10,000. With `isKnown` the one is found, 6 % of its bits turned.
void SearchOfFingerprint(benchmark::State &state, bool isKnown) {
    const QTemporaryDir folder;
    FingerprintFile file(folder.filePath("Fingerprints.sqlite"));
    FingerprintLibrary library(file);
    const auto tracks = static_cast<uint32_t>(state.range(0));
    for (uint32_t id = 1; id <= tracks; ++id)
        library.add(static_cast<int32_t>(id), "2026-11-21 14:03:22 +0000", madeItems(id));
    std::vector<uint32_t> asked = madeItems(isKnown ? tracks / 2 : tracks + 1);
    std::mt19937 random(1);
    for (uint32_t &item : asked)
        for (int bit = 0; bit < 32; ++bit)
            item ^= (random() % 100 < 6 ? 1U : 0U) << bit;
    const auto begin = std::chrono::steady_clock::now();
    if (library.matches(asked).size() != (isKnown ? 1 : 0))
        state.SkipWithError("the search found something else");
    const std::chrono::duration<double, std::milli> first = std::chrono::steady_clock::now() - begin;
    state.counters["first_ms"] = first.count(); // with the making of the index
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(library.matches(asked));
}
BENCHMARK_CAPTURE(SearchOfFingerprint, Known, true)->Arg(1000)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SearchOfFingerprint, Unknown, false)->Arg(10'000)->Unit(benchmark::kMillisecond);

} // namespace
