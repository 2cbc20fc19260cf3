// An audio stream's description as a dictionary and back.
//
// Threads: any.
#pragma once

#include <QString>
#include <QVariantMap>
#include <cstdint>

/// How the samples of a stream lie in memory. Rate in hertz; 0 stands for what does not apply.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;
    uint32_t mFormatID = 0; ///< a four-character code, its first character in the highest byte
    uint32_t mFormatFlags = 0;
    uint32_t mBytesPerPacket = 0;
    uint32_t mFramesPerPacket = 0;
    uint32_t mBytesPerFrame = 0;
    uint32_t mChannelsPerFrame = 0;
    uint32_t mBitsPerChannel = 0;

    bool operator==(const AudioStreamBasicDescription &) const = default;
};

/// The keys are "ASAudioStreamSampleRate" (a double), "ASAudioStreamFormat" (the code's four characters) and
/// "ASAudioStream" with "FormatFlags", "BytesPerPacket", "FramesPerPacket", "BytesPerFrame", "ChannelsPerFrame" and
/// "BitsPerChannel" (unsigned numbers).
QVariantMap ASDictionaryFromAudioStreamDescription(const AudioStreamBasicDescription &description);

/// What the dictionary lacks is 0.
AudioStreamBasicDescription ASAudioStreamDescriptionFromDictionary(const QVariantMap &dictionary);

/// The code's four characters.
QString ASStringFromAudioStreamFormatID(uint32_t formatID);

/// The code of four characters of Latin 1; 0 for a string of another length.
uint32_t ASAudioStreamFormatIDFromString(const QString &string);
