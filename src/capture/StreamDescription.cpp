#include "capture/StreamDescription.h"

#include <QtEndian>

namespace {

struct NumberEntry {
    const char *key;
    uint32_t AudioStreamBasicDescription::*field;
};

constexpr NumberEntry kNumbers[] = {
    {"ASAudioStreamFormatFlags", &AudioStreamBasicDescription::mFormatFlags},
    {"ASAudioStreamBytesPerPacket", &AudioStreamBasicDescription::mBytesPerPacket},
    {"ASAudioStreamFramesPerPacket", &AudioStreamBasicDescription::mFramesPerPacket},
    {"ASAudioStreamBytesPerFrame", &AudioStreamBasicDescription::mBytesPerFrame},
    {"ASAudioStreamChannelsPerFrame", &AudioStreamBasicDescription::mChannelsPerFrame},
    {"ASAudioStreamBitsPerChannel", &AudioStreamBasicDescription::mBitsPerChannel},
};

} // namespace

QVariantMap ASDictionaryFromAudioStreamDescription(const AudioStreamBasicDescription &description) {
    QVariantMap dictionary{{"ASAudioStreamSampleRate", description.mSampleRate},
                           {"ASAudioStreamFormat", ASStringFromAudioStreamFormatID(description.mFormatID)}};
    for (const auto &[key, field] : kNumbers)
        dictionary[key] = description.*field;
    return dictionary;
}

AudioStreamBasicDescription ASAudioStreamDescriptionFromDictionary(const QVariantMap &dictionary) {
    AudioStreamBasicDescription description;
    description.mSampleRate = dictionary["ASAudioStreamSampleRate"].toDouble();
    description.mFormatID = ASAudioStreamFormatIDFromString(dictionary["ASAudioStreamFormat"].toString());
    for (const auto &[key, field] : kNumbers)
        description.*field = dictionary[key].toUInt();
    return description;
}

QString ASStringFromAudioStreamFormatID(uint32_t formatID) {
    char characters[4];
    qToBigEndian(formatID, characters);
    return QString::fromLatin1(characters, sizeof characters);
}

uint32_t ASAudioStreamFormatIDFromString(const QString &string) {
    const QByteArray characters = string.toLatin1();
    return characters.size() == 4 ? qFromBigEndian<uint32_t>(characters.constData()) : 0;
}
