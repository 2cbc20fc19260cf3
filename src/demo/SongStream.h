// A stream of "songs" as a web radio might play it, made from a fixed seed.
#pragma once

#include <QString>
#include <cstdint>
#include <vector>

/// 44100 Hz, stereo, 16 bits.
struct SongStream {
    struct Song {
        size_t firstFrame = 0;
        size_t endFrame = 0;     ///< one past the last frame that is not silent
        bool isFragment = false; ///< too short for the length filter
        size_t frames() const { return endFrame - firstFrame; }
    };
    std::vector<int16_t> samples; ///< interleaved left, right
    std::vector<Song> songs;      ///< in order; gaps below the split interval are inside

    size_t frames() const { return samples.size() / 2; }
    float left(size_t frame) const { return static_cast<float>(samples[2 * frame]) / 32768.0f; }
};

/// Two seconds of silence; a song with a gap of 150 ms in it; 400 ms; a second song; 3 s; a fragment of 3 s that the
/// length filter drops; 400 ms; a third song.
SongStream makeSongStream();

/// One song, without silence around it. `root` in hertz.
SongStream makeSong(uint32_t seed, double root, double seconds);

/// Writes the stream as a WAV file. False when the file cannot be written.
[[nodiscard]] bool writeWav(const SongStream &stream, const QString &path);
