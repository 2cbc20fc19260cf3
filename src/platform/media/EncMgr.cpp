#include "platform/media/EncMgr.h"

#include <QFile>
#include <QString>
#include <array>
#include <cerrno>
#include <cstdio>
#include <lame/lame.h>
#include <memory>

namespace {
// LAME's own bound for one call: 1.25 times the frames plus 7200 bytes; the tag frame and the flush stay below it too.
constexpr size_t kEncodedRoom = kBlockFrames * 5 / 4 + 7200;
constexpr int64_t kFramesPerFlush = kSampleRate;
// Of 9, where 0 is the slowest. 2 takes 2.3 times as long and 3 takes 1.2 times; on music the noise of all three is the
// same within half a decibel, from 128 to 320 kbit/s.
constexpr int kQuality = 5;

struct LameCloser {
    void operator()(lame_t lame) const { lame_close(lame); }
};
struct FileCloser {
    void operator()(FILE *file) const { std::fclose(file); }
};
} // namespace

struct FCMediaFile {
    std::unique_ptr<lame_global_flags, LameCloser> lame;
    std::unique_ptr<FILE, FileCloser> file;
    std::array<unsigned char, kEncodedRoom> encoded{};
    int channels = 2;
    int64_t framesSinceFlush = 0;
    int error = 0;

    void fail(int code) {
        if (error == 0)
            error = code;
    }
    void write(size_t bytes) {
        if (error == 0 && std::fwrite(encoded.data(), 1, bytes, file.get()) != bytes)
            fail(errno);
    }
    void flush() {
        framesSinceFlush = 0;
        if (error == 0 && std::fflush(file.get()) != 0)
            fail(errno);
    }
};

FCHandle FCCreateMediaFile(const std::u32string &path, const FCFileRecord &fileRecord) {
    auto media = std::make_unique<FCMediaFile>();
    media->lame.reset(lame_init());
    if (!media->lame || fileRecord.bitsPerSample != 16)
        return nullptr;
    lame_t lame = media->lame.get();
    lame_set_in_samplerate(lame, fileRecord.sampleRate);
    lame_set_out_samplerate(lame, fileRecord.sampleRate);
    lame_set_num_channels(lame, fileRecord.channels);
    lame_set_VBR(lame, vbr_off);
    lame_set_brate(lame, fileRecord.bitRate / 1000);
    lame_set_quality(lame, kQuality);
    lame_set_bWriteVbrTag(lame, 1);
    lame_set_write_id3tag_automatic(lame, 0);
    if (lame_init_params(lame) < 0)
        return nullptr;
    media->channels = fileRecord.channels;
    media->file.reset(std::fopen(QFile::encodeName(QString::fromStdU32String(path)).constData(), "w+be"));
    return media->file ? media.release() : nullptr;
}

int FCWriteAudioData(FCHandle file, const FCFrameRecord &frame) {
    const int frames = frame.bytes / (file->channels * static_cast<int>(sizeof(int16_t)));
    // LAME takes a pointer to non-const and does not write through it.
    const int encoded =
        lame_encode_buffer_interleaved(file->lame.get(), const_cast<int16_t *>(frame.data), frames, // NOLINT
                                       file->encoded.data(), static_cast<int>(file->encoded.size()));
    if (encoded > 0)
        file->write(static_cast<size_t>(encoded));
    file->framesSinceFlush += frames;
    if (file->framesSinceFlush >= kFramesPerFlush)
        file->flush();
    return file->error != 0 ? file->error : encoded < 0 ? kFCFrameRefused : 0;
}

int FCCloseMediaFile(FCHandle file) {
    const std::unique_ptr<FCMediaFile> media(file);
    const int last = lame_encode_flush(media->lame.get(), media->encoded.data(), static_cast<int>(kEncodedRoom));
    if (last > 0)
        media->write(static_cast<size_t>(last));
    media->flush();
    // The first frame of the file was left for the info frame, which is known only now.
    const size_t infoFrame = lame_get_lametag_frame(media->lame.get(), media->encoded.data(), kEncodedRoom);
    if (infoFrame > 0 && infoFrame <= kEncodedRoom) {
        if (std::fseek(media->file.get(), 0, SEEK_SET) == 0)
            media->write(infoFrame);
        else
            media->fail(errno);
    }
    if (std::fclose(media->file.release()) != 0)
        media->fail(errno);
    return media->error;
}
