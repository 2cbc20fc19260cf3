// What a track sounds like, in some eight numbers a second.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QString>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <vector>

struct Fingerprint {
    std::vector<uint32_t> raw; ///< never empty

    /// As the services take it: packed, in the letters of base64 for addresses.
    QByteArray compressed() const;
};

/// The fingerprint of the first `atMost` of the sound in the file at `path`, or of all of a shorter one. Nothing if the
/// file holds no sound that can be decoded, if there are less than three seconds of it, or after a stop. Blocks.
std::optional<Fingerprint> fingerprintOfFile(const QString &path, std::chrono::seconds atMost,
                                             const std::stop_token &stop);
