// The sound of a file, as any player would hear it.
#pragma once

#include <QString>
#include <vector>

struct DecodedAudio {
    int sampleRate = 0; ///< hertz; 0 when the file could not be decoded
    std::vector<float> left, right;

    size_t frames() const { return left.size(); }
};

/// Decodes the whole of `path` at its own rate; a single channel gives two equal ones.
DecodedAudio decodeAudio(const QString &path);
