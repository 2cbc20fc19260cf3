// Audio files as libavformat opens them.
//
// Threads: any; an object is used by one thread at a time.
#pragma once

#include "platform/media/Av.h"

struct AvOutputDeleter {
    void operator()(AVFormatContext *output) const;
};
/// A container opened for writing; its file is closed with it.
using AvOutput = std::unique_ptr<AVFormatContext, AvOutputDeleter>;

/// Options for libav's open calls.
struct AvDictionary {
    AVDictionary *dictionary = nullptr;
    AvDictionary() = default;
    AvDictionary(const AvDictionary &) = delete;
    AvDictionary &operator=(const AvDictionary &) = delete;
    ~AvDictionary() { av_dict_free(&dictionary); }
};

/// Opens `path` for reading, as a file and never as an address, with `format` or by libavformat's guess.
/// 0 or FFmpeg's error.
int openAvInput(AvInput &input, const QString &path, const AVInputFormat *format = nullptr,
                AvDictionary *options = nullptr);

/// Creates an M4A file at `path` that names no program in its tags. 0 or FFmpeg's error.
int openAvOutput(AvOutput &output, const QString &path);

/// From now on no single piece of memory that libav asks for may be larger than what an honest file of a day needs.
void limitAvAllocations();

/// While one lives, the limit is lifted: for files of our own, which may be longer.
class AvRoom {
public:
    AvRoom();
    ~AvRoom();
    AvRoom(const AvRoom &) = delete;
    AvRoom &operator=(const AvRoom &) = delete;
};
