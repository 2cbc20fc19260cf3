#include "library/DuplicateSearch.h"

#include "store/SortDescriptor.h"

#include <QHashFunctions>
#include <algorithm>
#include <bit>
#include <functional>
#include <span>

namespace {

constexpr uint32_t kNone = UINT32_MAX;

bool isSameSong(const DuplicateCandidate &one, const DuplicateCandidate &other) {
    return one.title == other.title && one.artist == other.artist;
}

/// A row on its way, with all that its place depends on: the candidates lie far apart in memory.
struct Track {
    qint64 duration;
    uint32_t index;
    uint32_t first; // of its song
};

/// The candidates by song. Those of one song hang together as a chain, in the order in which they came.
class Songs {
public:
    explicit Songs(const std::vector<DuplicateCandidate> &candidates)
        : candidates_(candidates), slots_(std::bit_ceil(2 * candidates.size() + 1)), links_(candidates.size()) {
        for (uint32_t i = 0; i < candidates.size(); ++i)
            if (candidates[i].takesPart())
                add(i);
    }

    /// The first tracks of the songs that have more than one, in their order.
    std::vector<uint32_t> repeated() const {
        std::vector<uint32_t> firsts;
        for (uint32_t i = 0; i < links_.size(); ++i)
            if (links_[i].isFirst && links_[i].next != kNone)
                firsts.push_back(i);
        return firsts;
    }

    /// Appends the tracks of the song that begins with `first`.
    void appendTracks(uint32_t first, std::vector<Track> &tracks) const {
        for (uint32_t i = first; i != kNone; i = links_[i].next)
            tracks.push_back({links_[i].duration, i, first});
    }

    bool haveSameTitle(uint32_t one, uint32_t other) const {
        return links_[one].titleHash == links_[other].titleHash && candidates_[one].title == candidates_[other].title;
    }

private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t first = kNone;
        uint32_t last = kNone;
    };
    struct Link {
        qint64 duration = 0;
        size_t titleHash = 0;
        uint32_t next = kNone;
        bool isFirst = false;
    };

    void add(uint32_t index) {
        const DuplicateCandidate &candidate = candidates_[index];
        Link &link = links_[index];
        link.duration = candidate.duration;
        link.titleHash = qHash(candidate.title, seed_);
        const auto hash = static_cast<uint32_t>(qHash(candidate.artist, link.titleHash));
        size_t place = hash & (slots_.size() - 1);
        while (slots_[place].first != kNone &&
               (slots_[place].hash != hash || !isSameSong(candidates_[slots_[place].first], candidate)))
            place = (place + 1) & (slots_.size() - 1);
        Slot &slot = slots_[place];
        if (slot.first == kNone) {
            slot = {hash, index, index};
            link.isFirst = true;
        } else {
            links_[slot.last].next = index;
            slot.last = index;
        }
    }

    const std::vector<DuplicateCandidate> &candidates_;
    const size_t seed_ = QHashSeed::globalSeed();
    std::vector<Slot> slots_; // at most half of them are taken
    std::vector<Link> links_; // of the candidates
};

/// `firsts` by title, descending; songs of one title stay in their order.
std::vector<uint32_t> sortedByTitle(const std::vector<uint32_t> &firsts,
                                    const std::vector<DuplicateCandidate> &candidates) {
    std::vector<QStringView> titles;
    titles.reserve(firsts.size());
    for (const uint32_t first : firsts)
        titles.push_back(candidates[first].title);
    std::vector<uint32_t> sorted = orderOfTexts(titles, /*ascending=*/false);
    for (uint32_t &place : sorted)
        place = firsts[place];
    return sorted;
}

} // namespace

std::vector<DuplicateRow> duplicatesAmong(const std::vector<DuplicateCandidate> &candidates) {
    const Songs songs(candidates);
    const std::vector<uint32_t> firsts = sortedByTitle(songs.repeated(), candidates);
    std::vector<Track> tracks;
    size_t titleStart = 0; // in tracks
    for (size_t i = 0; i < firsts.size(); ++i) {
        songs.appendTracks(firsts[i], tracks);
        if (i + 1 < firsts.size() && songs.haveSameTitle(firsts[i], firsts[i + 1]))
            continue;
        std::ranges::stable_sort(std::span(tracks).subspan(titleStart), std::ranges::greater(), &Track::duration);
        titleStart = tracks.size();
    }

    std::vector<DuplicateRow> rows;
    rows.reserve(tracks.size());
    for (size_t i = 0; i < tracks.size(); ++i)
        rows.push_back({tracks[i].index, i == 0 || tracks[i].first != tracks[i - 1].first});
    return rows;
}
