#include "demo/DecodedAudio.h"

#include "platform/media/AvFile.h"

namespace {
float sampleOf(const AVFrame &frame, int channel, int index) {
    const int channels = frame.ch_layout.nb_channels;
    const int used = std::min(channel, channels - 1);
    const bool isPlanar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format));
    const uint8_t *data = isPlanar ? frame.extended_data[used] : frame.extended_data[0];
    const int at = isPlanar ? index : index * channels + used;
    switch (frame.format) {
    case AV_SAMPLE_FMT_FLT:
    case AV_SAMPLE_FMT_FLTP:
        return reinterpret_cast<const float *>(data)[at];
    default: // 16 bits
        return static_cast<float>(reinterpret_cast<const int16_t *>(data)[at]) / 32768.0f;
    }
}
} // namespace

DecodedAudio decodeAudio(const QString &path) {
    DecodedAudio result;
    AvInput input;
    if (openAvInput(input, path) < 0 || avformat_find_stream_info(input.get(), nullptr) < 0)
        return result;
    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (stream < 0)
        return result;
    const AVCodecParameters *parameters = input->streams[stream]->codecpar;
    const AVCodec *decoder = avcodec_find_decoder(parameters->codec_id);
    const AvCodec codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), parameters) < 0)
        return result;
    codec->pkt_timebase = input->streams[stream]->time_base;
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return result;
    const AvPacket packet(av_packet_alloc());
    const AvFrame frame(av_frame_alloc());
    const auto receive = [&] {
        while (avcodec_receive_frame(codec.get(), frame.get()) >= 0)
            for (int i = 0; i < frame->nb_samples; ++i) {
                result.left.push_back(sampleOf(*frame, 0, i));
                result.right.push_back(sampleOf(*frame, 1, i));
            }
    };
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream && avcodec_send_packet(codec.get(), packet.get()) >= 0)
            receive();
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(codec.get(), nullptr);
    receive();
    result.sampleRate = codec->sample_rate;
    // The decoder gives whole packets; in an M4A the edit list tells where the sound ends.
    const AVStream &source = *input->streams[stream];
    if (source.duration > 0 && qstrcmp(input->iformat->name, "mp3") != 0) {
        const int64_t frames = av_rescale_q(source.duration, source.time_base, {1, codec->sample_rate});
        if (frames < static_cast<int64_t>(result.frames())) {
            result.left.resize(static_cast<size_t>(frames));
            result.right.resize(static_cast<size_t>(frames));
        }
    }
    return result;
}
