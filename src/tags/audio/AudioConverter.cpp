#include "tags/audio/AudioConverter.h"

#include "platform/media/AvFile.h"
#include "tags/audio/AudioLength.h"
#include "tags/audio/AudioSource.h"

#include <QFileInfo>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <span>

namespace {

std::atomic<bool> isInitialized = false;

// Reads bits of a decoder configuration; those behind its end are zeros.
class Bits {
public:
    explicit Bits(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    bool isAtEnd() const { return at_ >= bytes_.size() * 8; }
    unsigned read(int count) {
        unsigned value = 0;
        for (; count > 0; --count, ++at_)
            value = value << 1 | (isAtEnd() ? 0u : bytes_[at_ / 8] >> (7 - at_ % 8) & 1u);
        return value;
    }
    void back(size_t count) { at_ -= count; }

private:
    std::span<const uint8_t> bytes_;
    size_t at_ = 0;
};

// Whether the decoder configuration of AAC announces spectral band replication, in front (types 5 and 29) or in the
// extension behind the base layer. Such a file has two formats, the plain one and the one at twice the rate.
bool announcesDoubledRate(std::span<const uint8_t> configuration) {
    Bits bits(configuration);
    const unsigned type = bits.read(5);
    if (type == 5 || type == 29)
        return true;
    while (!bits.isAtEnd()) {
        if (bits.read(11) == 0x2b7)
            return bits.read(5) == 5 && bits.read(1) == 1;
        bits.back(10);
    }
    return false;
}

const char *kindOf(const AudioSource &source, const AudioLength &length) {
    const AVCodecParameters &codec = *source.stream()->codecpar;
    if (source.container() == AudioSource::Container::MPEG)
        return length.mpegLayer == 3 ? "MP3 audio" : nullptr;
    const bool isPlainAAC =
        source.container() == AudioSource::Container::MP4 && codec.codec_id == AV_CODEC_ID_AAC &&
        !announcesDoubledRate({codec.extradata, static_cast<size_t>(std::max(codec.extradata_size, 0))});
    return isPlainAAC ? "M4A audio" : nullptr;
}

} // namespace

void AudioConverter::Initialize(const QString & /*executableFolder*/) {
    av_log_set_level(AV_LOG_QUIET);
    limitAvAllocations();
    isInitialized = true;
}

void AudioConverter::Uninitialize() {
    if (isInitialized.exchange(false))
        av_log_set_level(AV_LOG_INFO);
}

qint64 AudioConverter::getFileSize(const QString &path) { return QFileInfo(path).size(); }

std::optional<QVariantMap> AudioConverter::getAudioFileInfo(const QString &path) {
    const auto source = AudioSource::open(path);
    if (!source)
        return std::nullopt;
    const auto length = audioLength(path, *source);
    const char *kind = length ? kindOf(*source, *length) : nullptr;
    if (!kind)
        return QVariantMap();
    return QVariantMap{{"FourCCKey", QString::fromLatin1(kind)},
                       {"SampleRateKey", length->sampleRate},
                       {"BitrateKey", static_cast<int>(std::lround(length->bitRate))},
                       {"LengthKey", length->seconds}};
}

std::optional<QVariantMap> AudioConverter::getAudioFileID3Info(const QString &path) {
    const auto source = AudioSource::open(path);
    if (!source)
        return std::nullopt;
    QVariantMap info;
    const AVDictionaryEntry *entry = nullptr;
    while ((entry = av_dict_get(source->input()->metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
        const QString key = QString::fromUtf8(entry->key);
        info[key == "date" ? "year" : key == "comment" ? "comments" : key] = QString::fromUtf8(entry->value);
    }
    return info;
}
