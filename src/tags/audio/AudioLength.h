// How long an audio file plays.
//
// Threads: any.
#pragma once

#include <QString>
#include <optional>

struct AudioLength {
    double seconds = 0;
    bool isExact = false;  ///< to the sample; else an estimate
    double bitRate = 0;    ///< bits per second; 0 if unknown
    double sampleRate = 0; ///< hertz
};

/// Nothing if the file holds no sound. Reads the headers of plain files, and every packet of a fragmented M4A.
std::optional<AudioLength> audioLength(const QString &path);
