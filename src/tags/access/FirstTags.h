// The tags that a recording starts with.
//
// Threads: the main thread.
#pragma once

#include "store/SongItem.h"
#include "tags/access/TagWriteOutcome.h"

/// Writes title, artist, album, year, genre and the chosen cover of `song` into its file, takes over the file's new
/// size and stores the track. An absent text gets its default, an empty one stays empty; without a cover that can be
/// loaded the default cover is written. Tells what became of the tags; the track is stored whether or not its file took
/// them.
TagWriteOutcome writeID3(SongItem &song);
