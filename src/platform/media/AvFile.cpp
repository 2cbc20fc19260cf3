#include "platform/media/AvFile.h"

#include <QFile>
#include <climits>
#include <mutex>

namespace {
/// `path` as FFmpeg takes it: with the protocol named, a colon in a file's name means nothing.
QByteArray fileUrl(const QString &path) { return "file:" + QFile::encodeName(path); }

constexpr size_t kNoLimit = INT_MAX; // libavutil's own
// Counts that lie made libavformat ask for 1.7 GB. The sample table of a day of sound takes 90 MB.
constexpr size_t kLimit = 192UL << 20;

std::mutex limitMutex; // guards what follows, and libavutil's limit with it
size_t limit = kNoLimit;
int rooms = 0;
} // namespace

void limitAvAllocations() {
    const std::lock_guard guard(limitMutex);
    limit = kLimit;
    if (rooms == 0)
        av_max_alloc(limit);
}

AvRoom::AvRoom() {
    const std::lock_guard guard(limitMutex);
    if (++rooms == 1)
        av_max_alloc(kNoLimit);
}

AvRoom::~AvRoom() {
    const std::lock_guard guard(limitMutex);
    if (--rooms == 0)
        av_max_alloc(limit);
}

void AvOutputDeleter::operator()(AVFormatContext *output) const {
    // The error of the last flush stands in pb->error, which whoever cares has read.
    avio_closep(&output->pb);
    avformat_free_context(output);
}

int openAvInput(AvInput &input, const QString &path, const AVInputFormat *format, AvDictionary *options) {
    AVFormatContext *context = nullptr;
    const int error =
        avformat_open_input(&context, fileUrl(path).constData(), format, options ? &options->dictionary : nullptr);
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
