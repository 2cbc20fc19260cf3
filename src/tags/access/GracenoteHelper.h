// The two marks of the identification service that every file carries whose tags the program writes.
//
// Both have the same values for every file and every user. An MP3 has them as the ID3v2 frames UFID and TXXX, an M4A as
// the free-form items "gnid" and "gnxd". Marks that a file has are never changed.
//
// Threads: any. Of two writes to one file at the same time one answers no.
#pragma once

#include <QString>
#include <optional>
#include <string>

class TagStream;

class GracenoteHelper {
public:
    /// Adds whichever of the two frames is missing. False for what is no MP3 file, can't be written or would hurt its
    /// reader; the file is then as it was.
    static bool setMP3GracenoteInfo(const QString &path);

    /// Whether an M4A file has an item "gnid" or "gnxd".
    static bool hasGracenoteInfo(const QString &path);

    /// Gives an M4A file the two items in place of all its items, unless it has one of the two. False only if the file
    /// can't be opened for writing; true also where the items found no place.
    static bool setM4AGracenoteInfo(const QString &path);

    // The same on an open file that nobody else sees: the marks are part of a larger change.

    static bool addMP3Marks(TagStream &stream);

    /// What became of the marks of an M4A.
    struct M4AMarks {
        bool arePlaced = false; ///< the file has them; false where they found no place
        std::string replaced;   ///< the items whose place they took, as the content of an `ilst`
    };
    /// Nothing if the write failed.
    static std::optional<M4AMarks> addM4AMarks(int descriptor);
    /// The two items, as the content of an `ilst`.
    static std::string itemsOfM4AMarks();
};
