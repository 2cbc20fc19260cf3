#include "capture/StreamDescription.h"
#include "capture/CaptureDevice.h"

#include <gtest/gtest.h>

TEST(DeviceUtilities, DescribeStreamsAndFindNames) {
    const AudioStreamBasicDescription aac{44100.0, 0x61616320, 41, 0, 1024, 4, 2, 32};
    const QVariantMap dictionary = ASDictionaryFromAudioStreamDescription(aac);
    EXPECT_EQ(dictionary["ASAudioStreamFormat"], QVariant("aac "));
    EXPECT_EQ(dictionary["ASAudioStreamSampleRate"], QVariant(44100.0));
    EXPECT_EQ(dictionary["ASAudioStreamFramesPerPacket"], QVariant(1024U));
    EXPECT_EQ(dictionary.size(), 8);
    EXPECT_EQ(ASAudioStreamDescriptionFromDictionary(dictionary), aac);
    EXPECT_EQ(ASAudioStreamDescriptionFromDictionary({}), AudioStreamBasicDescription());
    EXPECT_EQ(ASAudioStreamFormatIDFromString("mp3"), 0U);

    const QStringList devices{"Built-in Output", "System Audio Recorder", "system audio"};
    EXPECT_EQ(findDeviceByKeyInArray("Audio", devices), QStringList("System Audio Recorder"));
    EXPECT_EQ(findDeviceByKeyInArray("", devices), QStringList());
}
