// Audio files as TagLib opens them here: by their content, behind a guard.
//
// Threads: any; an object belongs to one thread at a time.
#pragma once

#include "tags/access/TagGuard.h"

#include <memory>
#include <optional>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>

class OpenedMP3 {
public:
    /// `stream` outlives this.
    explicit OpenedMP3(TagStream &stream);

    /// Null for what could not be opened or would hurt its reader.
    TagLib::MPEG::File *file() { return file_ ? &*file_ : nullptr; }

    /// What stands between the tags, looked at once.
    const MpegLook &look();

    /// Whether save() would lose something that TagLib has not read. To be asked before a tag is changed.
    bool losesOnSave();

    /// Saves every kind of tag, as TagLib does by itself, so that a file gets an ID3v1 tag beside its ID3v2 tag. Where
    /// something else than a whole frame ends the sound no kind of tag is added behind it; those that are there stay
    /// true. The stream tells whether it failed.
    void save();

private:
    TagStream &stream_;
    std::optional<FrameGuard> frames_;
    std::optional<TagLib::MPEG::File> file_;
    std::optional<MpegLook> look_;
};

class OpenedM4A {
public:
    /// `stream` outlives this.
    OpenedM4A(TagStream &stream, bool isForWriting);

    /// Null for what could not be opened or would hurt its reader or writer.
    TagLib::MP4::File *file() { return file_ ? &*file_ : nullptr; }
    const Mp4Look &look() const { return look_; }

private:
    Mp4Look look_;
    std::optional<TagLib::MP4::File> file_;
};
