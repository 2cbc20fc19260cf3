#include "tags/audio/AudioSource.h"

#include "platform/media/AvFile.h"
#include "tags/audio/MpegAudioInfo.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

// Formats that hold sound and refer to no other file.
constexpr const char *kFormats = "aac,ac3,aiff,amr,ape,asf,au,caf,dsf,eac3,flac,matroska,mov,mp3,mpc,mpc8,ogg,tta,voc,"
                                 "w64,wav,wv";

// Bytes in which an unknown format has to show itself; the library's own mebibyte is no short look.
constexpr size_t kProbeBytes = 65536;

struct FoundFormat {
    const AVInputFormat *format = nullptr; ///< null for what holds no sound that this program knows
    qint64 skipped = 0;                    ///< bytes before the sound that its demuxer need not search
};

bool isKnown(const AVInputFormat *format) {
    const QStringList known = QString(kFormats).split(',');
    const QStringList names = QString(format->name).split(',');
    return std::any_of(names.begin(), names.end(), [&](const QString &name) { return known.contains(name); });
}

// What libavformat finds in the bytes behind the tags. It gets no name, which it would believe more than weak bytes.
const AVInputFormat *probed(const ByteReader &read, uint64_t position, int &score) {
    std::vector<uint8_t> bytes(kProbeBytes + AVPROBE_PADDING_SIZE);
    AVProbeData data{.filename = "", .buf = bytes.data(), .buf_size = 0, .mime_type = nullptr};
    data.buf_size = static_cast<int>(read(position, bytes.data(), kProbeBytes));
    score = 0;
    const AVInputFormat *format = av_probe_input_format3(&data, /*is_opened=*/1, &score);
    return format && isKnown(format) ? format : nullptr;
}

FoundFormat formatOfContent(QFile &file) {
    static const AVInputFormat *const mp4 = av_find_input_format("mov");
    static const AVInputFormat *const mpeg = av_find_input_format("mp3");
    static const AVInputFormat *const wav = av_find_input_format("wav");
    const ByteReader read = readerOf(file);
    std::array<uint8_t, 12> bytes{};
    if (read(0, bytes.data(), bytes.size()) < bytes.size())
        return {};
    if (std::memcmp(bytes.data() + 4, "ftyp", 4) == 0)
        return {mp4};
    if (std::memcmp(bytes.data(), "RIFF", 4) == 0 && std::memcmp(bytes.data() + 8, "WAVE", 4) == 0)
        return {wav};
    // Other formats too stand behind ID3 tags, so the tag alone says nothing.
    const uint64_t start = behindLeadingTags(read);
    if (read(start, bytes.data(), bytes.size()) >= 4 && mpegFrameHeader(bytes))
        return {mpeg};
    int score = 0;
    const AVInputFormat *format = probed(read, start, score);
    if (format && format != mpeg && score > AVPROBE_SCORE_RETRY)
        return {format};
    // Frames behind rubbish; the demuxer gives up sooner.
    const auto frame = firstMpegFrame(read, start, static_cast<uint64_t>(file.size()));
    return frame ? FoundFormat{mpeg, static_cast<qint64>(*frame)} : FoundFormat{format};
}

} // namespace

std::unique_ptr<AudioSource> AudioSource::open(const QString &path, bool isCutByEditList) {
    QFile file(path);
    // Opening a pipe would wait for its other end.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return nullptr;
    const auto [format, skipped] = formatOfContent(file);
    if (!format)
        return nullptr;

    AvDictionary options;
    av_dict_set(&options.dictionary, "format_whitelist", kFormats, 0);
    av_dict_set(&options.dictionary, "protocol_whitelist", "file", 0);
    av_dict_set_int(&options.dictionary, "skip_initial_bytes", skipped, 0);
    // A WAV's samples may be DTS. Left alone, the demuxer looks for that through 128 KB, from the beginning at each
    // doubling, which takes longer than to decode 30 seconds; it shows in the first packets or never.
    av_dict_set_int(&options.dictionary, "max_probe_packets", 4, 0);
    av_dict_set(&options.dictionary, "advanced_editlist", isCutByEditList ? "1" : "0", 0);
    std::unique_ptr<AudioSource> source(new AudioSource);
    if (openAvInput(source->input_, path, format, &options) < 0)
        return nullptr;

    AVFormatContext *input = source->input();
    if (std::strcmp(input->iformat->name, "mp3") == 0)
        source->container_ = Container::MPEG;
    else if (std::strncmp(input->iformat->name, "mov,", 4) == 0)
        source->container_ = Container::MP4;
    else if (avformat_find_stream_info(input, nullptr) < 0)
        return nullptr; // these formats tell too little in their headers
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        AVStream *stream = input->streams[i];
        if (!source->stream_ && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            source->stream_ = stream;
        else
            stream->discard = AVDISCARD_ALL;
    }
    source->packet_.reset(av_packet_alloc());
    source->frame_.reset(av_frame_alloc());
    return source->stream_ && source->packet_ && source->frame_ ? std::move(source) : nullptr;
}

bool AudioSource::openDecoder(bool isTrimmed) {
    const AVCodec *codec = avcodec_find_decoder(stream_->codecpar->codec_id);
    decoder_.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder_ || avcodec_parameters_to_context(decoder_.get(), stream_->codecpar) < 0)
        return false;
    decoder_->pkt_timebase = stream_->time_base;
    decoder_->thread_count = 1;
    if (!isTrimmed)
        decoder_->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    return avcodec_open2(decoder_.get(), codec, nullptr) >= 0;
}

const AVPacket *AudioSource::nextPacket() {
    do {
        av_packet_unref(packet_.get());
        if (av_read_frame(input_.get(), packet_.get()) < 0)
            return nullptr;
    } while (packet_->stream_index != stream_->index);
    ++packets_;
    return packet_.get();
}

const AVFrame *AudioSource::nextFrame(int packetLimit) {
    while (avcodec_receive_frame(decoder_.get(), frame_.get()) < 0) {
        if (isDraining_ || packets_ >= packetLimit)
            return nullptr;
        const AVPacket *next = nextPacket();
        isDraining_ = next == nullptr;
        // A packet that the decoder refuses is a damaged one; the next may be whole.
        avcodec_send_packet(decoder_.get(), next);
    }
    return frame_.get();
}
