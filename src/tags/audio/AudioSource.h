// An audio file opened for reading and decoding.
//
// Threads: any; one source belongs to one thread at a time.
#pragma once

#include "platform/media/Av.h"

#include <QString>
#include <memory>
#include <optional>

class AudioSource {
public:
    enum class Container { MPEG, MP4, Other };

    /// Opens a regular file with the demuxer that its content asks for, whatever its name. Playlists and network
    /// addresses are never followed. Null if there is no audio stream in it.
    /// `isCutByEditList`: an M4A's edit list also says where the stream ends, in its own coarse clock, and not only
    /// where it begins.
    static std::unique_ptr<AudioSource> open(const QString &path, bool isCutByEditList = false);

    Container container() const { return container_; }
    AVFormatContext *input() const { return input_.get(); }
    AVStream *stream() const { return stream_; }
    AVCodecContext *decoder() const { return decoder_.get(); }

    /// To be called once before nextFrame(). `isTrimmed`: what the encoder put before and behind the music is dropped
    /// where the file tells about it. False if nothing here decodes this.
    bool openDecoder(bool isTrimmed);

    /// The next packet of the stream; null at the end. Valid until the next call.
    const AVPacket *nextPacket();

    /// The next decoded frame, valid until the next call; damaged packets are passed over. Null at the end or when
    /// `packetLimit` packets in all have given nothing more.
    const AVFrame *nextFrame(int packetLimit);

    /// The packet that nextPacket() or nextFrame() read last.
    const AVPacket *packet() const { return packet_.get(); }

private:
    AudioSource() = default;

    Container container_ = Container::Other;
    AvInput input_;
    AVStream *stream_ = nullptr; // the input's
    AvCodec decoder_;
    AvPacket packet_;
    AvFrame frame_;
    int packets_ = 0;
    bool isDraining_ = false;
};
