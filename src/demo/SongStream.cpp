#include "demo/SongStream.h"

#include "platform/sound/AudioTypes.h"

#include <QDataStream>
#include <QFile>
#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace {
constexpr double kTwoPi = 6.283185307179586;

/// Chords with harmonics and vibrato, a bass, and drums of filtered noise: broad spectra that move, as music's do.
class Band {
public:
    Band(uint32_t seed, double root) : random_(seed), root_(root) {}

    /// One frame, `time` in seconds from the song's start.
    std::array<double, 2> play(double time) {
        constexpr std::array<std::array<double, 3>, 4> kChords{
            {{1, 1.25, 1.5}, {0.8409, 1.0, 1.2599}, {0.8909, 1.1225, 1.3348}, {0.7492, 0.9439, 1.1225}}};
        const auto &chord = kChords[static_cast<size_t>(time / 1.2) % kChords.size()];
        double left = 0;
        double right = 0;
        for (size_t voice = 0; voice < chord.size(); ++voice) {
            phases_[voice] += root_ * chord[voice] * (1 + 0.004 * std::sin(kTwoPi * 5.1 * time)) / kSampleRate;
            double tone = 0;
            for (int harmonic = 1; harmonic <= 9; ++harmonic)
                tone += std::sin(kTwoPi * harmonic * phases_[voice]) / (harmonic * (1 + 0.3 * harmonic));
            left += tone * (0.7 - 0.2 * static_cast<double>(voice));
            right += tone * (0.3 + 0.2 * static_cast<double>(voice));
        }
        bass_ += root_ * chord[0] / 4 / kSampleRate;
        const double low = 0.8 * std::sin(kTwoPi * bass_);
        const double beat = std::fmod(time, 0.45);
        smoothNoise_ += 0.45 * (noise_(random_) - smoothNoise_);
        const double drum = smoothNoise_ * std::exp(-beat * 14) * 1.2;
        return {0.2 * (left + low + drum), 0.2 * (right + low + 0.8 * drum)};
    }

private:
    std::mt19937 random_;
    std::uniform_real_distribution<double> noise_{-1, 1};
    double root_;
    std::array<double, 3> phases_{};
    double bass_ = 0;
    double smoothNoise_ = 0;
};

void addSilence(SongStream &stream, double seconds) {
    stream.samples.resize(stream.samples.size() + 2 * static_cast<size_t>(std::lround(seconds * kSampleRate)));
}

SongStream::Song addMusic(SongStream &stream, Band &band, double seconds) {
    const size_t first = stream.frames();
    const auto count = static_cast<size_t>(std::lround(seconds * kSampleRate));
    for (size_t i = 0; i < count; ++i)
        for (const double sample : band.play(static_cast<double>(i) / kSampleRate))
            stream.samples.push_back(static_cast<int16_t>(std::lround(std::clamp(sample, -0.95, 0.95) * 32767)));
    return {first, stream.frames()};
}
} // namespace

SongStream makeSongStream() {
    SongStream stream;
    Band first(1, 220);
    Band second(2, 293.66);
    Band fragment(3, 174.61);
    Band third(4, 246.94);
    addSilence(stream, 2);
    SongStream::Song song = addMusic(stream, first, 3.5);
    addSilence(stream, 0.150);
    song.endFrame = addMusic(stream, first, 3).endFrame;
    stream.songs.push_back(song);
    addSilence(stream, 0.400);
    stream.songs.push_back(addMusic(stream, second, 6));
    addSilence(stream, 3);
    stream.songs.push_back(addMusic(stream, fragment, 3));
    stream.songs.back().isFragment = true;
    addSilence(stream, 0.400);
    stream.songs.push_back(addMusic(stream, third, 6.2));
    return stream;
}

SongStream makeSong(uint32_t seed, double root, double seconds) {
    SongStream stream;
    Band band(seed, root);
    stream.songs.push_back(addMusic(stream, band, seconds));
    return stream;
}

bool writeWav(const SongStream &stream, const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const auto bytes = static_cast<quint32>(stream.samples.size() * sizeof(int16_t));
    QDataStream out(&file);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + bytes);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(2) << quint32(kSampleRate) << quint32(kSampleRate * 4) << quint16(4)
        << quint16(16);
    out.writeRawData("data", 4);
    out << bytes;
    out.writeRawData(reinterpret_cast<const char *>(stream.samples.data()), static_cast<int>(bytes));
    return out.status() == QDataStream::Ok && file.flush();
}
