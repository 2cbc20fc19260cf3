// Which tracks of a list share title and artist.
//
// Threads: any.
#pragma once

#include <QStringView>
#include <cstdint>
#include <span>
#include <vector>

/// A track as it is handed to the search. `duration` in milliseconds.
struct DuplicateCandidate {
    QStringView title, artist;
    qint64 duration;
};

/// What the search knows of the tracks: a copy of their texts, one behind the other. The texts of songs lie scattered
/// in memory, and to go to each of them again would take longer than all the rest of the search.
class DuplicateCandidates {
public:
    struct Track {
        size_t start; // of the title; behind it stands the artist
        uint32_t titleLength, artistLength;
        qint64 duration;
        uint32_t index; // among all that were given
    };

    /// A track that lacks title, artist or duration is nobody's duplicate, and left out.
    explicit DuplicateCandidates(std::span<const DuplicateCandidate> given);
    /// None that could be anybody's duplicate.
    bool isEmpty() const { return tracks_.empty(); }

    const std::vector<Track> &tracks() const { return tracks_; }
    const char16_t *letters(const Track &track) const { return letters_.data() + track.start; }
    QStringView title(const Track &track) const { return {letters(track), track.titleLength}; }
    QStringView artist(const Track &track) const { return {letters(track) + track.titleLength, track.artistLength}; }

private:
    std::vector<char16_t> letters_;
    std::vector<Track> tracks_;
};

struct DuplicateRow {
    uint32_t index = 0; ///< of the track, among all that were given
    bool isKept = false;

    bool operator==(const DuplicateRow &) const = default;
};

/// The candidates that share title and artist, letter by letter, with another one. Sorted by title, descending, within
/// a title by duration, the longest first; what is equal in both stands song by song, in the order of the candidates.
/// The first of each run of rows of one song is kept. Where artists share a title their tracks may alternate: each is
/// a run of its own then.
std::vector<DuplicateRow> duplicatesAmong(const DuplicateCandidates &candidates);
