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

/// The candidates by song. Those of one song hang together as a chain, in the order in which they came.
class Songs {
public:
    explicit Songs(const std::vector<DuplicateCandidate> &candidates)
        : candidates_(candidates), slots_(std::bit_ceil(2 * candidates.size() + 1)) {
        links_.resize(candidates.size());
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
    void appendTracks(uint32_t first, std::vector<uint32_t> &rows) const {
        for (uint32_t row = first; row != kNone; row = links_[row].next)
            rows.push_back(row);
    }

private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t first = kNone;
        uint32_t last = kNone;
    };
    struct Link {
        uint32_t next = kNone;
        bool isFirst = false;
    };

    void add(uint32_t index) {
        const DuplicateCandidate &candidate = candidates_[index];
        const auto hash = static_cast<uint32_t>(qHash(candidate.artist, qHash(candidate.title, seed_)));
        size_t place = hash & (slots_.size() - 1);
        while (slots_[place].first != kNone &&
               (slots_[place].hash != hash || !isSameSong(candidates_[slots_[place].first], candidate)))
            place = (place + 1) & (slots_.size() - 1);
        Slot &slot = slots_[place];
        if (slot.first == kNone) {
            slot = {hash, index, index};
            links_[index].isFirst = true;
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

} // namespace

std::vector<DuplicateRow> duplicatesAmong(const std::vector<DuplicateCandidate> &candidates) {
    const Songs songs(candidates);
    const std::vector<uint32_t> firsts = songs.repeated();
    std::vector<QStringView> titles;
    titles.reserve(firsts.size());
    for (const uint32_t first : firsts)
        titles.push_back(candidates[first].title);
    const std::vector<uint32_t> order = orderOfTexts(titles, /*ascending=*/false);

    std::vector<uint32_t> rows;
    size_t titleStart = 0; // in rows
    for (size_t i = 0; i < order.size(); ++i) {
        songs.appendTracks(firsts[order[i]], rows);
        if (i + 1 < order.size() && titles[order[i + 1]] == titles[order[i]])
            continue;
        std::ranges::stable_sort(std::span(rows).subspan(titleStart), std::ranges::greater(),
                                 [&candidates](uint32_t row) { return candidates[row].duration; });
        titleStart = rows.size();
    }

    std::vector<DuplicateRow> duplicates;
    duplicates.reserve(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
        duplicates.push_back({rows[i], i == 0 || !isSameSong(candidates[rows[i]], candidates[rows[i - 1]])});
    return duplicates;
}
