// Which tracks of a list share title and artist.
//
// Threads: any.
#pragma once

#include <QString>
#include <cstdint>
#include <vector>

/// What the search knows of a track.
struct DuplicateCandidate {
    QString title;
    QString artist;
    qint64 duration = 0; // milliseconds

    /// Tracks that lack any of the three are nobody's duplicates.
    bool takesPart() const { return duration > 0 && !title.isEmpty() && !artist.isEmpty(); }
};

struct DuplicateRow {
    uint32_t index = 0; ///< into the candidates
    bool isKept = false;

    bool operator==(const DuplicateRow &) const = default;
};

/// The candidates that share title and artist, letter by letter, with another one. Sorted by title, descending, within
/// a title by duration, the longest first; what is equal in both stands song by song, in the order of the candidates.
/// The first of each run of rows of one song is kept. Where artists share a title their tracks may alternate: each is
/// a run of its own then.
std::vector<DuplicateRow> duplicatesAmong(const std::vector<DuplicateCandidate> &candidates);
