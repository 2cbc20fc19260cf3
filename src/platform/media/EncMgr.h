// The MP3 encoder: constant bit rate files from blocks of interleaved 16-bit samples.
//
// Threads: a handle is used by one thread at a time; its caller sees to that.
#pragma once

#include "platform/sound/AudioTypes.h"

#include <string>

/// What the file shall be.
struct FCFileRecord {
    int32_t sampleRate = kSampleRate;
    int32_t channels = 2;
    int32_t bitRate = 0; ///< bits per second
    int32_t bitsPerSample = 16;
};

/// One block for FCWriteAudioData().
struct FCFrameRecord {
    const int16_t *data = nullptr; ///< interleaved left, right
    int32_t bytes = 0;             ///< size of the data
};

struct FCMediaFile;
using FCHandle = FCMediaFile *;

/// Creates the MP3 file at `path` (UTF-32), over any older file. Null when the file cannot be made or the encoder
/// refuses the record.
FCHandle FCCreateMediaFile(const std::u32string &path, const FCFileRecord &fileRecord);

/// The encoder would not take a block, and the file goes on without it.
inline constexpr int kFCFrameRefused = -1;

/// Encodes one block. What has been encoded reaches the file about once a second, so that little is lost with the
/// process. 0 on success, kFCFrameRefused, or the system's error number; after the latter the file takes nothing more.
int FCWriteAudioData(FCHandle file, const FCFrameRecord &frame);

/// Finishes the file with its info frame, which carries the exact length, and frees the handle. The first error that
/// writing has met since the file was made, as a system error number; 0 when there was none.
int FCCloseMediaFile(FCHandle file);
