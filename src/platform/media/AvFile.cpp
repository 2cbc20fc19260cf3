#include "platform/media/AvFile.h"

#include <QFile>

namespace {
/// `path` as FFmpeg takes it: with the protocol named, a colon in a file's name means nothing.
QByteArray fileUrl(const QString &path) { return "file:" + QFile::encodeName(path); }
} // namespace

void AvOutputDeleter::operator()(AVFormatContext *output) const {
    // The error of the last flush stands in pb->error, which whoever cares has read.
    avio_closep(&output->pb);
    avformat_free_context(output);
}

int openAvInput(AvInput &input, const QString &path, const AVInputFormat *format) {
    AVFormatContext *context = nullptr;
    const int error = avformat_open_input(&context, fileUrl(path).constData(), format, nullptr);
    input.reset(context); // null on failure
    return error;
}

int openAvOutput(AvOutput &output, const QString &path) {
    AVFormatContext *context = nullptr;
    if (const int error = avformat_alloc_output_context2(&context, nullptr, "ipod", nullptr); error < 0)
        return error;
    output.reset(context);
    context->flags |= AVFMT_FLAG_BITEXACT;
    return avio_open(&context->pb, fileUrl(path).constData(), AVIO_FLAG_WRITE);
}
