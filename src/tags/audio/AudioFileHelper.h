// Says what format an audio file really is, by decoding its beginning, and how long it is.
//
// Threads: any.
#pragma once

#include <QString>
#include <cstdint>

class AudioFileHelper {
public:
    static constexpr uint32_t kFormatMP3 = 0x2e6d7033; ///< ".mp3"
    static constexpr uint32_t kFormatAAC = 0x61616320; ///< "aac ", in an M4A file

    /// Whether sound can be decoded from the file.
    static bool isValidFile(const QString &path);

    /// One of the codes above, another four-character code for other sound that decodes, or 0. A short look: opens the
    /// file and decodes until the first samples come out. Bare AAC streams and MP3 inside other containers have codes
    /// of their own, since tags are written by this code.
    static uint32_t AudioFileFormatID(const QString &path);

    /// Seconds; 0 if the file can't be read. Exact for M4A and for MP3 with an encoder's Info frame.
    static double fileDuration(const QString &path);
};
