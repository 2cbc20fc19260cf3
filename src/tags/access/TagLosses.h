// What TagLib would lose of an ID3v2 tag that it reads only in part, and writes anew from what it has read.
//
// Threads: any.
#pragma once

#include "tags/access/TagStream.h"

#include <taglib/id3v2tag.h>

/// Whether a save of `tag`, as TagLib has just read it out of the file, would lose something that stands in the ID3v2
/// tags at its start: frames behind one that ended the reading, a second tag, texts whose encoding lacks its byte order
/// mark. `tag` may be null, for a file in which TagLib has found none.
bool losesOnSave(TagStream &stream, const TagLib::ID3v2::Tag *tag);
