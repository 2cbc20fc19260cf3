// What is looked at in a file before TagLib gets it.
//
// TagLib follows the nesting of atoms by recursion, inflates compressed frames without a limit, and rewrites as many
// chunk offsets as a count claims. Files that would hurt it are refused here.
//
// Threads: any.
#pragma once

#include "tags/access/TagStream.h"

#include <taglib/id3v2frame.h>
#include <taglib/id3v2framefactory.h>

/// What TagLib would meet in an MP4 file.
struct Mp4Look {
    bool isReadable = false; ///< nesting and number of atoms are within bounds
    bool isWritable = false; ///< each atom ends within its parent too, and offsets can be moved without harm
    long tail = 0;           ///< bytes behind the last whole top-level atom of a file with a `moov`
    long missing = 0;        ///< bytes that a `moov` cut short by the end of the file lacks

    // The item list that TagLib takes: of each name on the way to `ilst` the first.
    uint64_t list = 0;       ///< where it starts
    uint64_t listSize = 0;   ///< header included; 0 if there is none
    uint64_t room = 0;       ///< that size and the free space right behind it
    bool hasHandler = false; ///< `hdlr` stands before it
};
Mp4Look lookAtMp4(TagStream &stream);

/// What stands between the tags of an MP3 file.
struct MpegLook {
    enum class End {
        WholeFrame, ///< only tags follow the last frame
        Rubbish,    ///< zeros, lyrics or something else stand behind the last frame of a row
        TornFrame   ///< a decoder takes what follows for the rest of the last frame
    };
    bool hasFrames = false;
    End end = End::Rubbish;
};
MpegLook lookAtMpegFrames(TagStream &stream);

/// Names the header that TagLib hands to a factory and keeps protected. Never made.
class FrameHeaderAccess : public TagLib::ID3v2::Frame {
public:
    using TagLib::ID3v2::Frame::Header;
};

/// Makes TagLib's ID3v2 frames and stops before those that could hurt: more frames than any tag has, and, unless they
/// are trusted, compressed frames and chapters, which hold frames themselves.
class FrameGuard final : public TagLib::ID3v2::FrameFactory {
public:
    explicit FrameGuard(bool isTrusting = false) : isTrusting_(isTrusting) {}

    /// The tag must not be used.
    bool hasRefused() const { return hasRefused_; }
    /// Frames were left unread that wait for trustsTag().
    bool hasDoubts() const { return compressed_ > 0 || chapters_ > 0; }
    /// Whether the tag at the start of the file may be read by a trusting guard: no more comes out of its compressed
    /// frames than fits, and no chapter stands in a chapter.
    bool trustsTag(TagStream &stream) const;

protected:
    bool updateFrame(FrameHeaderAccess::Header *header) const override;

private:
    bool isTrusting_;
    mutable bool hasRefused_ = false;
    mutable unsigned frames_ = 0;
    mutable unsigned compressed_ = 0;
    mutable unsigned chapters_ = 0;
};
