// Owners for the records of libavformat, libavcodec and libswresample.
//
// Threads: any; each owner belongs to one thread at a time.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <QString>
#include <memory>

struct AvDeleter {
    void operator()(AVFormatContext *input) const noexcept { avformat_close_input(&input); }
    void operator()(AVCodecContext *codec) const noexcept { avcodec_free_context(&codec); }
    void operator()(AVFrame *frame) const noexcept { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const noexcept { av_packet_free(&packet); }
    void operator()(SwrContext *resampler) const noexcept { swr_free(&resampler); }
};

/// A container opened for reading; one opened for writing is closed otherwise and has no owner here.
using AvInput = std::unique_ptr<AVFormatContext, AvDeleter>;
using AvCodec = std::unique_ptr<AVCodecContext, AvDeleter>;
using AvFrame = std::unique_ptr<AVFrame, AvDeleter>;
using AvPacket = std::unique_ptr<AVPacket, AvDeleter>;
using AvResampler = std::unique_ptr<SwrContext, AvDeleter>;

/// The library's own words for an error code.
inline QString avErrorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}
