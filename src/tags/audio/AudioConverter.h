// Tells an audio file's facts and cuts its opening seconds out as a WAV file.
//
// Threads: any. Initialize() and Uninitialize() run at start and end of the program.
#pragma once

#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <optional>

class AudioConverter {
public:
    /// Keeps libav from writing to standard error and from allocating by a lying count. `executableFolder` is where the
    /// program stands.
    static void Initialize(const QString &executableFolder);
    /// Undoes Initialize(), once.
    static void Uninitialize();

    /// Bytes; 0 if unknown.
    static qint64 getFileSize(const QString &path);

    /// "FourCCKey" ("MP3 audio" or "M4A audio"), "SampleRateKey" (double, hertz), "BitrateKey" (integer, bits per
    /// second), "LengthKey" (double, seconds). Nothing for a file that can't be read; empty for other formats, and for
    /// AAC that announces a second, doubled sample rate.
    static std::optional<QVariantMap> getAudioFileInfo(const QString &path);

    /// The texts that the file tells about itself: "title", "artist", "album", "genre", "year", "comments" and others.
    /// Nothing for a file that can't be read.
    static std::optional<QVariantMap> getAudioFileID3Info(const QString &path);

    /// Decodes the first `forEndTime` seconds of `path`, or all of a shorter one, to a 16-bit stereo WAV file at
    /// 44100 Hz. Blocks. 0 if the source can't be decoded; 1 once writing has begun, also when it failed: then there is
    /// no file at `toDestPath`, as there is none when nothing was to be cut. An older file there is removed first.
    static int32_t convertAudioToWav(const QString &path, const QString &toDestPath, double forEndTime);
};
