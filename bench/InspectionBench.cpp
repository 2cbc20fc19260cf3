// How long the look at a file's format takes, once for each tag read and each tag write, and how long the excerpt for
// identification takes beside the ffmpeg command. The goals for the look are 0.25 ms for an MP3 of 20 seconds and
// 0.35 ms for an M4A.
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

bool ffmpeg(const QStringList &arguments) {
    return QProcess::execute("ffmpeg", QStringList{"-v", "error", "-y"} + arguments) == 0;
}

/// A file of its own for one benchmark.
class Tone {
public:
    Tone(benchmark::State &state, const char *name, int seconds) : path(folder_.filePath(QString::fromLatin1(name))) {
        AudioConverter::Initialize({});
        const QString source = QStringLiteral("anoisesrc=color=pink:amplitude=0.3:duration=%1").arg(seconds);
        if (!ffmpeg({"-f", "lavfi", "-i", source, "-ac", "2", "-ar", "44100", path}))
            state.SkipWithError("ffmpeg could not make the file");
    }
    QString beside(const char *name) const { return folder_.filePath(QString::fromLatin1(name)); }

private:
    QTemporaryDir folder_;

public:
    const QString path;
};

void FormatProbe(benchmark::State &state, const char *name) {
    const Tone tone(state, name, /*seconds=*/20);
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(AudioFileHelper::AudioFileFormatID(tone.path));
}
BENCHMARK_CAPTURE(FormatProbe, MP3, "tone.mp3")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(FormatProbe, M4A, "tone.m4a")->Unit(benchmark::kMicrosecond);

void Excerpt(benchmark::State &state, const char *name) {
    const Tone tone(state, name, /*seconds=*/180);
    for ([[maybe_unused]] auto iteration : state)
        AudioConverter::convertAudioToWav(tone.path, tone.beside("excerpt.wav"), /*forEndTime=*/30);
}
BENCHMARK_CAPTURE(Excerpt, MP3, "tone.mp3")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Excerpt, M4A, "tone.m4a")->Unit(benchmark::kMillisecond)->UseRealTime();

void ExcerptByFfmpeg(benchmark::State &state, const char *name) {
    const Tone tone(state, name, /*seconds=*/180);
    for ([[maybe_unused]] auto iteration : state)
        ffmpeg({"-t", "30", "-i", tone.path, "-ar", "44100", "-ac", "2", tone.beside("excerpt.wav")});
}
BENCHMARK_CAPTURE(ExcerptByFfmpeg, MP3, "tone.mp3")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(ExcerptByFfmpeg, M4A, "tone.m4a")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
