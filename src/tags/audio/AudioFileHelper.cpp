#include "tags/audio/AudioFileHelper.h"

#include "tags/audio/AudioLength.h"
#include "tags/audio/AudioSource.h"
#include "tags/audio/MpegAudioInfo.h"

namespace {

// What fills 32768 bytes of mono float samples at 48000 Hz, in the shortest usual frames of 576 samples.
constexpr int kProbePackets = 16;

// The first four letters of the codec's name, padded with blanks.
uint32_t codeOfName(const char *name) {
    uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<uint8_t>(*name ? *name++ : ' ');
    return code;
}

uint32_t probedFormat(const QString &path) {
    const auto source = AudioSource::open(path);
    if (!source || !source->openDecoder(/*isTrimmed=*/false) || !source->nextFrame(kProbePackets))
        return 0;
    const AVCodecID codec = source->stream()->codecpar->codec_id;
    if (source->container() == AudioSource::Container::MPEG) {
        const auto header = mpegFrameHeader({source->packet()->data, static_cast<size_t>(source->packet()->size)});
        return header && header->layer != 3 ? codeOfName(header->layer == 2 ? ".mp2" : ".mp1")
                                            : AudioFileHelper::kFormatMP3;
    }
    if (codec == AV_CODEC_ID_AAC)
        return source->container() == AudioSource::Container::MP4 ? AudioFileHelper::kFormatAAC : codeOfName("adts");
    return codeOfName(avcodec_get_name(codec));
}

} // namespace

bool AudioFileHelper::isValidFile(const QString &path) { return AudioFileFormatID(path) > 0; }

uint32_t AudioFileHelper::AudioFileFormatID(const QString &path) {
    try {
        return probedFormat(path);
    } catch (...) {
        return 0; // a file that can't be looked at, for whatever reason, is no audio file
    }
}

double AudioFileHelper::fileDuration(const QString &path) {
    const auto length = audioLength(path);
    return length ? length->seconds : 0;
}
