#include "platform/media/ExtAudioFile.h"

#include "platform/media/AvFile.h"
#include "platform/media/PlainM4a.h"
#include "platform/run/Log.h"
#include "platform/run/Semaphore.h"
#include "platform/run/SpscQueue.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <pthread.h>
#include <thread>

namespace {
constexpr size_t kQueueBlocks = 512; // 5.9 s, 2 MiB
constexpr int kWriterSleepMilliseconds = 250;
constexpr size_t kBlocksToWakeFor = 128;     // 1.5 s
constexpr int kFragmentFrames = kSampleRate; // a fragment a second
} // namespace

/// The encoder, the container and the thread that runs both.
class ExtAudioFile::Writer {
public:
    /// Opens encoder and container; 0 or libav's error.
    int open(const QString &path, int bitRate);
    void start();
    /// Ends the thread after it has encoded what is queued, and finishes the file.
    Outcome finish();

    void take(const float *left, const float *right) noexcept;
    bool waitForRoom(int patience);
    bool hasFailed() const noexcept { return error_.load(std::memory_order_relaxed) < 0; }
    QString failure() const { return hasFailed() ? avErrorText(error_.load(std::memory_order_relaxed)) : QString(); }

private:
    void run();
    void encodeQueued();
    void encode();
    void send(const AVFrame *frame);
    void write();
    void refuse() noexcept { refusedBlocks_ += encoder_->frame_size / static_cast<int>(kBlockFrames); }
    void flushFragment();
    void fail(int error) noexcept;

    QString path_;
    AvOutput container_;
    AvCodec encoder_;
    AvFrame frame_;
    int filled_ = 0; // samples of a channel that lie in frame_
    AvPacket packet_;
    int64_t encodedFrames_ = 0;
    int64_t fragmentStart_ = 0;
    int64_t refusedBlocks_ = 0; // writer

    SpscQueue<SoundBlock, kQueueBlocks> queue_;
    std::atomic<int64_t> lostBlocks_ = 0; // audio thread
    std::atomic<int> error_ = 0;          // writer; libav's code of the first failure
    std::atomic<bool> ends_ = false;      // main thread
    Semaphore wake_;
    std::thread thread_;
};

int ExtAudioFile::Writer::open(const QString &path, int bitRate) {
    path_ = path;
    const AVCodec *codec = avcodec_find_encoder_by_name("aac");
    encoder_.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (!encoder_ || !frame_ || !packet_)
        return codec ? AVERROR(ENOMEM) : AVERROR_ENCODER_NOT_FOUND;
    encoder_->sample_rate = kSampleRate;
    encoder_->sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder_->bit_rate = bitRate;
    encoder_->time_base = {1, kSampleRate};
    av_channel_layout_default(&encoder_->ch_layout, 2);
    // Without the bit-exact flags the file would carry the library's name and version.
    encoder_->flags |= AV_CODEC_FLAG_BITEXACT | AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int error = avcodec_open2(encoder_.get(), codec, nullptr); error < 0)
        return error;

    if (const int error = openAvOutput(container_, path); error < 0)
        return error;
    AVStream *stream = avformat_new_stream(container_.get(), nullptr);
    if (!stream)
        return AVERROR(ENOMEM);
    stream->time_base = encoder_->time_base;
    if (const int error = avcodec_parameters_from_context(stream->codecpar, encoder_.get()); error < 0)
        return error;
    AvDictionary options;
    // frag_custom: fragments end where flushFragment() says so; the other modes never cut a stream of audio.
    av_dict_set(&options.dictionary, "movflags", "+empty_moov+default_base_moof+frag_custom", 0);
    if (const int error = avformat_write_header(container_.get(), &options.dictionary); error < 0)
        return error;

    frame_->nb_samples = encoder_->frame_size;
    frame_->format = encoder_->sample_fmt;
    frame_->sample_rate = kSampleRate;
    if (const int error = av_channel_layout_copy(&frame_->ch_layout, &encoder_->ch_layout); error < 0)
        return error;
    return av_frame_get_buffer(frame_.get(), 0);
}

void ExtAudioFile::Writer::start() {
    thread_ = std::thread([this] { run(); });
    pthread_setname_np(thread_.native_handle(), "M4A-writer");
}

void ExtAudioFile::Writer::take(const float *left, const float *right) noexcept {
    SoundBlock *block = queue_.beginPush();
    if (!block) {
        lostBlocks_.store(lostBlocks_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return;
    }
    block->copyFrom(left, right);
    queue_.endPush();
    // The writer looks by itself often enough for a device's pace; after a stall the sound comes in a flood.
    if (queue_.size() == kBlocksToWakeFor)
        wake_.post();
}

bool ExtAudioFile::Writer::waitForRoom(int patience) {
    for (int idle = 0; queue_.size() == kQueueBlocks; ++idle) {
        if (idle == patience)
            return false;
        wake_.post();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void ExtAudioFile::Writer::run() {
    while (!ends_.load(std::memory_order_acquire)) {
        wake_.waitAtMost(kWriterSleepMilliseconds);
        encodeQueued();
    }
}

void ExtAudioFile::Writer::encodeQueued() {
    for (; const SoundBlock *block = queue_.front(); queue_.pop()) {
        if (hasFailed())
            continue;
        // The encoder may still hold the last frame's samples.
        if (const int error = filled_ == 0 ? av_frame_make_writable(frame_.get()) : 0; error < 0) {
            fail(error);
            continue;
        }
        std::copy(block->left.begin(), block->left.end(), reinterpret_cast<float *>(frame_->data[0]) + filled_);
        std::copy(block->right.begin(), block->right.end(), reinterpret_cast<float *>(frame_->data[1]) + filled_);
        filled_ += static_cast<int>(kBlockFrames);
        if (filled_ == encoder_->frame_size)
            encode();
    }
}

void ExtAudioFile::Writer::encode() {
    frame_->nb_samples = std::exchange(filled_, 0);
    frame_->pts = encodedFrames_;
    encodedFrames_ += frame_->nb_samples;
    send(frame_.get());
    if (encodedFrames_ - fragmentStart_ >= kFragmentFrames)
        flushFragment();
}

// What the encoder refuses, samples near the end of the numbers for one, is left out: the sound around it is good.
void ExtAudioFile::Writer::send(const AVFrame *frame) {
    if (avcodec_send_frame(encoder_.get(), frame) < 0)
        return refuse();
    for (;;) {
        const int received = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return;
        if (received < 0)
            return refuse();
        write();
        if (hasFailed())
            return;
    }
}

void ExtAudioFile::Writer::write() {
    packet_->stream_index = 0;
    av_packet_rescale_ts(packet_.get(), encoder_->time_base, container_->streams[0]->time_base);
    const int written = av_write_frame(container_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (written < 0)
        fail(written);
}

void ExtAudioFile::Writer::flushFragment() {
    fragmentStart_ = encodedFrames_;
    if (hasFailed())
        return;
    const int written = av_write_frame(container_.get(), nullptr);
    avio_flush(container_->pb);
    if (written < 0 || container_->pb->error < 0)
        fail(written < 0 ? written : container_->pb->error);
}

void ExtAudioFile::Writer::fail(int error) noexcept {
    int none = 0;
    error_.compare_exchange_strong(none, error, std::memory_order_relaxed);
}

ExtAudioFile::Outcome ExtAudioFile::Writer::finish() {
    ends_.store(true, std::memory_order_release);
    wake_.post();
    thread_.join();
    encodeQueued();
    if (filled_ > 0 && !hasFailed())
        encode();
    if (!hasFailed())
        send(/*frame=*/nullptr);
    flushFragment();
    if (!hasFailed()) {
        if (const int error = av_write_trailer(container_.get()); error < 0)
            fail(error);
    }
    container_.reset();

    Outcome outcome{lostBlocks_.load(std::memory_order_relaxed) + refusedBlocks_, failure()};
    if (encodedFrames_ == 0)
        return outcome; // nothing but a header; there is no sound to make plain
    const QString error = makePlainM4a(path_, hasFailed() ? -1 : encodedFrames_);
    if (!error.isNull()) {
        logLine(QStringLiteral("%1 stays in the form it was recorded in: %2").arg(path_, error));
        if (outcome.error.isNull())
            outcome.error = error;
    }
    return outcome;
}

std::unique_ptr<ExtAudioFile> ExtAudioFile::createNew(const QString &path, int bitRate, QString *error) {
    auto writer = std::make_unique<Writer>();
    if (const int code = writer->open(path, bitRate); code < 0) {
        *error = avErrorText(code);
        writer.reset();
        if (QFileInfo(path).size() == 0)
            QFile::remove(path); // made, and then there was no room for a header
        return nullptr;
    }
    writer->start();
    return std::unique_ptr<ExtAudioFile>(new ExtAudioFile(std::move(writer)));
}

ExtAudioFile::ExtAudioFile(std::unique_ptr<Writer> writer) : writer_(std::move(writer)) {}
ExtAudioFile::~ExtAudioFile() {
    if (writer_)
        writer_->finish();
}

void ExtAudioFile::writeAsync(const float *left, const float *right) noexcept { writer_->take(left, right); }
bool ExtAudioFile::waitForRoom(int patience) { return writer_->waitForRoom(patience); }
bool ExtAudioFile::hasFailed() const noexcept { return writer_->hasFailed(); }
QString ExtAudioFile::failure() const { return writer_->failure(); }

ExtAudioFile::Outcome ExtAudioFile::dispose() {
    Outcome outcome = writer_->finish();
    writer_.reset();
    return outcome;
}
