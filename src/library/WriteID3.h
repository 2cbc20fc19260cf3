// The tags of a track into its file, and the file's name after them.
//
// Threads: main; the file is written before the function returns.
#pragma once

#include "store/SongItem.h"
#include "tags/access/TagWriteOutcome.h"

struct WriteID3Result {
    TagWriteOutcome outcome = TagWriteOutcome::Failed;
    /// False where the file bears the name already that it would get: nothing of what is shown is different then.
    bool isStatusStale = true;
};

/// Writes the tags of `song`, with `isNeedChangeCover` its chosen cover too, and gives it the size that its file has
/// then. With `isNeedChangeFileName` a recording's file is renamed after title and artist; a name that the file can't
/// have leaves it the old one, without a word. The database is the caller's matter.
WriteID3Result writeID3inFile(SongItem &song, bool isNeedChangeCover, bool isNeedChangeFileName);

/// Saves `song`, whose file was called `path` before its tags were written. Where the library can't be written the file
/// is called so again, as its row has it: else it could not be found at the next start. False then. `isCoverLost` as
/// DataBaseManager::updateSongItem() has it.
bool saveWritten(SongItem &song, const QString &path, bool *isCoverLost = nullptr);

/// `path` with the characters that other systems allow in no file name replaced in its last component.
QString theValidPath(const QString &path);
