// How long an audio file plays.
//
// Threads: any.
#pragma once

#include <QString>
#include <optional>

class AudioSource;

struct AudioLength {
    double seconds = 0;
    bool isExact = false;  ///< to the sample; else an estimate
    double bitRate = 0;    ///< bits per second; 0 if unknown
    double sampleRate = 0; ///< hertz
    int mpegLayer = 0;     ///< of MPEG audio
};

/// Nothing if the file holds no sound. Reads the headers of plain files, and every packet of a fragmented M4A.
std::optional<AudioLength> audioLength(const QString &path);
/// The same of a file that has just been opened.
std::optional<AudioLength> audioLength(const QString &path, AudioSource &source);
