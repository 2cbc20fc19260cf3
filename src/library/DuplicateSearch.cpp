#include "library/DuplicateSearch.h"

#include "store/SortDescriptor.h"

#include <QHashFunctions>
#include <algorithm>
#include <bit>
#include <tuple>

namespace {

constexpr uint32_t kNone = UINT32_MAX;
constexpr size_t kAhead = 12; // tracks: so long it takes until something comes from memory

/// Tells the processor that what stands at `place` is wanted soon.
void fetch(const void *place) { __builtin_prefetch(place); }

/// The candidates by song: those that share title and artist.
class Songs {
public:
    struct Song {
        size_t titleHash;
        uint32_t first; // of its tracks
        uint32_t count = 0;
    };

    explicit Songs(const DuplicateCandidates &candidates)
        : candidates_(candidates), slots_(std::bit_ceil(2 * tracks().size() + 1)) {
        std::vector<Hashes> hashes;
        hashes.reserve(tracks().size());
        for (const DuplicateCandidates::Track &track : tracks())
            hashes.push_back(hashesOf(track));
        songs_.reserve(tracks().size());
        songOf_.reserve(tracks().size());
        for (uint32_t i = 0; i < hashes.size(); ++i) {
            if (i + 2 * kAhead < hashes.size())
                fetch(&slots_[placeOf(hashes[i + 2 * kAhead])]);
            if (i + kAhead < hashes.size())
                fetchFirst(slots_[placeOf(hashes[i + kAhead])]);
            songOf_.push_back(foundOrAdded(i, hashes[i]));
            ++songs_[songOf_.back()].count;
        }
    }

    const std::vector<Song> &songs() const { return songs_; }
    uint32_t songOf(uint32_t track) const { return songOf_[track]; }
    QStringView title(const Song &song) const { return candidates_.title(tracks()[song.first]); }
    bool haveSameTitle(const Song &one, const Song &other) const {
        return one.titleHash == other.titleHash && title(one) == title(other);
    }

private:
    struct Hashes {
        size_t title;
        uint32_t both; // title and artist
    };
    struct Slot {
        const char16_t *letters = nullptr; // of the first track
        uint32_t hash = 0;
        uint32_t first = kNone; // track
    };

    const std::vector<DuplicateCandidates::Track> &tracks() const { return candidates_.tracks(); }

    Hashes hashesOf(const DuplicateCandidates::Track &track) const {
        const size_t title = qHash(candidates_.title(track), seed_);
        return {title, static_cast<uint32_t>(qHash(candidates_.artist(track), title))};
    }

    size_t placeOf(const Hashes &hashes) const { return hashes.both & (slots_.size() - 1); }

    void fetchFirst(const Slot &slot) const {
        if (slot.first == kNone)
            return;
        fetch(&tracks()[slot.first]);
        fetch(slot.letters);
    }

    bool isSameSong(uint32_t one, uint32_t other) const {
        const DuplicateCandidates::Track &a = tracks()[one];
        const DuplicateCandidates::Track &b = tracks()[other];
        return candidates_.title(a) == candidates_.title(b) && candidates_.artist(a) == candidates_.artist(b);
    }

    /// The number of the track's song, which is a new one if none before it was the same.
    uint32_t foundOrAdded(uint32_t track, const Hashes &hashes) {
        size_t place = placeOf(hashes);
        for (; slots_[place].first != kNone; place = (place + 1) & (slots_.size() - 1))
            if (slots_[place].hash == hashes.both && isSameSong(slots_[place].first, track))
                return songOf_[slots_[place].first];
        slots_[place] = {candidates_.letters(tracks()[track]), hashes.both, track};
        songs_.push_back({hashes.title, track});
        return static_cast<uint32_t>(songs_.size() - 1);
    }

    const DuplicateCandidates &candidates_;
    const size_t seed_ = QHashSeed::globalSeed();
    std::vector<Slot> slots_;      // at most half of them are taken
    std::vector<Song> songs_;      // in the order in which they came
    std::vector<uint32_t> songOf_; // by track
};

/// Those of `songs` that have more than one track, by title, descending; within a title in the order in which they
/// came.
std::vector<uint32_t> repeatedByTitle(const Songs &songs) {
    std::vector<uint32_t> repeated;
    std::vector<QStringView> titles;
    for (uint32_t song = 0; song < songs.songs().size(); ++song) {
        if (songs.songs()[song].count == 1)
            continue;
        repeated.push_back(song);
        titles.push_back(songs.title(songs.songs()[song]));
    }
    std::vector<uint32_t> sorted = orderOfTexts(titles, /*ascending=*/false);
    for (uint32_t &place : sorted)
        place = repeated[place];
    return sorted;
}

/// Less the duration, the song, and which of all that were given the track is: rows of one title stand in this order.
/// Not a struct: the standard library's sort would move each of its rows by memmove, and the whole search takes nearly
/// twice as long where most titles have two.
using Row = std::tuple<qint64, uint32_t, uint32_t>;

uint32_t songOf(const Row &row) { return std::get<1>(row); }

} // namespace

DuplicateCandidates::DuplicateCandidates(std::span<const DuplicateCandidate> given) {
    size_t letters = 0;
    for (const DuplicateCandidate &track : given)
        letters += static_cast<size_t>(track.title.size() + track.artist.size());
    letters_.reserve(letters);
    tracks_.reserve(given.size());
    for (size_t i = 0; i < given.size(); ++i) {
        if (i + kAhead < given.size()) {
            fetch(given[i + kAhead].title.utf16());
            fetch(given[i + kAhead].artist.utf16());
        }
        const auto &[title, artist, duration] = given[i];
        if (duration <= 0 || title.isEmpty() || artist.isEmpty())
            continue;
        tracks_.push_back({letters_.size(), static_cast<uint32_t>(title.size()), static_cast<uint32_t>(artist.size()),
                           duration, static_cast<uint32_t>(i)});
        letters_.insert(letters_.end(), title.utf16(), title.utf16() + title.size());
        letters_.insert(letters_.end(), artist.utf16(), artist.utf16() + artist.size());
    }
}

std::vector<DuplicateRow> duplicatesAmong(const DuplicateCandidates &candidates) {
    const Songs songs(candidates);
    const std::vector<uint32_t> sorted = repeatedByTitle(songs);
    std::vector<uint32_t> places(songs.songs().size(), kNone); // by song: where its next row stands
    uint32_t count = 0;
    for (const uint32_t song : sorted) {
        places[song] = count;
        count += songs.songs()[song].count;
    }
    std::vector<Row> rows(count);
    for (uint32_t i = 0; i < candidates.tracks().size(); ++i) {
        const uint32_t song = songs.songOf(i);
        if (places[song] != kNone)
            rows[places[song]++] = {-candidates.tracks()[i].duration, song, candidates.tracks()[i].index};
    }
    auto from = rows.begin(); // of the title
    for (size_t i = 0; i < sorted.size(); ++i) {
        const Songs::Song &song = songs.songs()[sorted[i]];
        if (i + 1 < sorted.size() && songs.haveSameTitle(song, songs.songs()[sorted[i + 1]]))
            continue;
        const auto to = rows.begin() + places[sorted[i]];
        std::ranges::sort(from, to);
        from = to;
    }

    std::vector<DuplicateRow> found;
    found.reserve(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
        found.push_back({std::get<2>(rows[i]), i == 0 || songOf(rows[i]) != songOf(rows[i - 1])});
    return found;
}
