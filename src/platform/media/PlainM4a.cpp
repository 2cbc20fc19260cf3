#include "platform/media/PlainM4a.h"

#include "platform/media/AvFile.h"

#include <QFile>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int64_t kEncoderDelay = 1024; // frames that libavcodec's AAC encoder puts before the sound
constexpr int64_t kPacketFrames = 1024;

/// Copies the packets of `from` into `to`, with time stamps that run on without a hole from the encoder's delay.
int copyPackets(AVFormatContext *from, int stream, AVFormatContext *to, int64_t frames) {
    const AvPacket packet(av_packet_alloc());
    if (!packet)
        return AVERROR(ENOMEM);
    int64_t next = -kEncoderDelay;
    while (av_read_frame(from, packet.get()) >= 0) {
        const bool isWhole =
            packet->stream_index == stream && packet->size > 0 && !(packet->flags & AV_PKT_FLAG_CORRUPT);
        const int64_t length = frames < 0 ? kPacketFrames : std::min(kPacketFrames, frames - next);
        if (!isWhole || length <= 0) {
            av_packet_unref(packet.get());
            continue;
        }
        packet->pts = packet->dts = next;
        packet->duration = length;
        packet->stream_index = 0;
        packet->pos = -1;
        next += length;
        const int written = av_write_frame(to, packet.get());
        av_packet_unref(packet.get());
        if (written < 0)
            return written;
    }
    return next > 0 ? 0 : AVERROR_INVALIDDATA;
}

int writePlain(const QString &source, const QString &target, int64_t frames) {
    AvInput from;
    if (const int error = openAvInput(from, source); error < 0)
        return error;
    const int stream = av_find_best_stream(from.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (stream < 0)
        return stream;
    AvOutput to;
    if (const int error = openAvOutput(to, target); error < 0)
        return error;
    AVStream *out = avformat_new_stream(to.get(), nullptr);
    if (!out)
        return AVERROR(ENOMEM);
    if (const int error = avcodec_parameters_copy(out->codecpar, from->streams[stream]->codecpar); error < 0)
        return error;
    out->codecpar->codec_tag = 0;
    out->codecpar->frame_size = kPacketFrames;
    out->time_base = {1, out->codecpar->sample_rate};
    AvDictionary options;
    // The edit list counts in this scale; in the default one, milliseconds, it would not give the exact length.
    av_dict_set_int(&options.dictionary, "movie_timescale", out->codecpar->sample_rate, 0);
    if (const int error = avformat_write_header(to.get(), &options.dictionary); error < 0)
        return error;
    if (const int error = copyPackets(from.get(), stream, to.get(), frames); error < 0)
        return error;
    if (const int error = av_write_trailer(to.get()); error < 0)
        return error;
    avio_flush(to->pb);
    return std::min(to->pb->error, 0);
}

/// The bytes of `path` reach the disk; 0 or libav's error.
int sync(const QString &path) {
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    const int error = file < 0 || fsync(file) != 0 ? AVERROR(errno) : 0;
    if (file >= 0)
        close(file);
    return error;
}
} // namespace

QString makePlainM4a(const QString &path, int64_t frames) {
    const AvRoom room; // the sample table of a day is larger than what strangers' files may ask for
    const QString plain = path + ".part";
    // The name goes to the new file only when a power cut can no longer empty it.
    const int written = writePlain(path, plain, frames);
    if (const int error = written < 0 ? written : sync(plain); error < 0) {
        QFile::remove(plain);
        return avErrorText(error);
    }
    if (std::rename(QFile::encodeName(plain).constData(), QFile::encodeName(path).constData()) == 0)
        return {};
    const int error = errno;
    QFile::remove(plain);
    return avErrorText(AVERROR(error));
}
