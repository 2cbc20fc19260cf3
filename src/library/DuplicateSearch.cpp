#include "library/DuplicateSearch.h"

#include <QHashFunctions>
#include <algorithm>
#include <bit>

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

    /// Song by song, in the order of their first tracks; without those of a single track.
    std::vector<uint32_t> duplicates() const {
        std::vector<uint32_t> rows;
        for (uint32_t i = 0; i < links_.size(); ++i) {
            if (!links_[i].isFirst || links_[i].next == kNone)
                continue;
            for (uint32_t row = i; row != kNone; row = links_[row].next)
                rows.push_back(row);
        }
        return rows;
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
    std::vector<uint32_t> rows = Songs(candidates).duplicates();
    std::ranges::stable_sort(rows, [&candidates](uint32_t one, uint32_t other) {
        const int order = candidates[one].title.compare(candidates[other].title);
        return order != 0 ? order > 0 : candidates[one].duration > candidates[other].duration;
    });
    std::vector<DuplicateRow> duplicates;
    duplicates.reserve(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
        duplicates.push_back({rows[i], i == 0 || !isSameSong(candidates[rows[i]], candidates[rows[i - 1]])});
    return duplicates;
}
