#include "tags/access/TagLibFile.h"

#include "tags/access/TagLosses.h"

namespace {
constexpr auto kStyle = TagLib::AudioProperties::Average;
}

OpenedMP3::OpenedMP3(TagStream &stream) : stream_(stream) {
    if (!stream.isOpen())
        return;
    frames_.emplace();
    file_.emplace(&stream, &*frames_, /*readProperties=*/true, kStyle);
    if (frames_->hasDoubts()) {
        const bool isTrusted = frames_->trustsTag(stream);
        file_.reset();
        if (!isTrusted)
            return;
        frames_.emplace(/*isTrusting=*/true);
        file_.emplace(&stream, &*frames_, /*readProperties=*/true, kStyle);
    }
    if (!file_->isOpen() || !file_->isValid() || !file_->tag() || frames_->hasRefused() || stream.hasRefused())
        file_.reset();
}

const MpegLook &OpenedMP3::look() {
    if (!look_)
        look_ = lookAtMpegFrames(stream_);
    return *look_;
}

bool OpenedMP3::losesOnSave() { return ::losesOnSave(stream_, file_->hasID3v2Tag() ? file_->ID3v2Tag() : nullptr); }

void OpenedMP3::save() {
    using TagLib::MPEG::File;
    // TagLib's own answer tells only of read-only files; what matters is asked of the stream.
    const MpegLook::End end = look().end;
    if (end == MpegLook::End::WholeFrame) {
        file_->save(File::AllTags);
        return;
    }
    int kinds = File::ID3v2;
    // Written over itself, it moves nothing.
    if (file_->hasID3v1Tag())
        kinds |= File::ID3v1;
    if (file_->hasAPETag() && end != MpegLook::End::TornFrame)
        kinds |= File::APE;
    file_->save(kinds, TagLib::File::StripNone, TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate);
}

OpenedM4A::OpenedM4A(TagStream &stream, bool isForWriting) {
    if (!stream.isOpen())
        return;
    look_ = lookAtMp4(stream);
    if (look_.tail > 0) {
        // TagLib refuses a file that has anything but atoms behind its last one, as it has where `moov` once was
        // longer.
        stream.hideTail(look_.tail);
        look_ = lookAtMp4(stream);
    } else if (look_.missing > 0 && !isForWriting) {
        // Of a `moov` cut short by the end of the file, what is there can be read.
        stream.pretendZeros(look_.missing);
        look_ = lookAtMp4(stream);
    }
    if (look_.tail > 0 || !look_.isReadable || (isForWriting && !look_.isWritable))
        return;
    file_.emplace(&stream, /*readProperties=*/true, kStyle);
    if (!file_->isOpen() || !file_->isValid() || !file_->tag() || stream.hasRefused())
        file_.reset();
}
