#include "tags/audio/AudioSource.h"

#include "tags/audio/MpegAudioInfo.h"

#include <QFile>
#include <array>
#include <cstring>

namespace {

// Formats that hold sound and refer to no other file.
constexpr const char *kFormats = "aac,ac3,aiff,amr,ape,asf,au,caf,dsf,eac3,flac,matroska,mov,mp3,mpc,mpc8,ogg,tta,voc,"
                                 "w64,wav,wv";

// Bytes in which an unknown format has to show itself; the default of a mebibyte is no short look.
constexpr const char *kProbeBytes = "65536";

// Null where the first bytes name no format that this program meets every day.
const AVInputFormat *formatOfFirstBytes(QFile &file) {
    static const AVInputFormat *const mp4 = av_find_input_format("mov");
    static const AVInputFormat *const mpeg = av_find_input_format("mp3");
    static const AVInputFormat *const wav = av_find_input_format("wav");
    std::array<char, 12> bytes{};
    const auto head = [&bytes] { return std::span(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()); };
    if (file.read(bytes.data(), bytes.size()) < static_cast<qint64>(bytes.size()))
        return nullptr;
    if (std::memcmp(bytes.data() + 4, "ftyp", 4) == 0)
        return mp4;
    if (std::memcmp(bytes.data(), "RIFF", 4) == 0 && std::memcmp(bytes.data() + 8, "WAVE", 4) == 0)
        return wav;
    // Other formats too stand behind ID3 tags, so the tag alone says nothing.
    if (const qint64 tag = id3v2Bytes(head()); tag > 0)
        if (!file.seek(tag) || file.read(bytes.data(), 4) < 4)
            return nullptr;
    return mpegFrameHeader(head()) ? mpeg : nullptr;
}

} // namespace

std::unique_ptr<AudioSource> AudioSource::open(const QString &path, bool isCutByEditList) {
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return nullptr;
    const AVInputFormat *format = formatOfFirstBytes(file);

    AVDictionary *options = nullptr;
    av_dict_set(&options, "format_whitelist", kFormats, 0);
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "formatprobesize", kProbeBytes, 0);
    av_dict_set(&options, "advanced_editlist", isCutByEditList ? "1" : "0", 0);
    AVFormatContext *input = nullptr;
    const int code = avformat_open_input(&input, ("file:" + QFile::encodeName(path)).constData(), format, &options);
    av_dict_free(&options);
    if (code < 0)
        return nullptr;

    std::unique_ptr<AudioSource> source(new AudioSource);
    source->input_.reset(input);
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
