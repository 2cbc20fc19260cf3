#include "library/DuplicateSearch.h"

#include "store/SortDescriptor.h"

#include <QHashFunctions>
#include <algorithm>
#include <bit>
#include <span>

namespace {

constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kAhead = 16; // tracks: so long a slot takes to come from memory

/// A row on its way, with all that its place depends on.
struct Row {
    qint64 duration;
    uint32_t place; // where it stood
    uint32_t index;
    uint32_t first; // of its song
};

/// The candidates by song. Those of one song hang together as a chain, in the order in which they came.
class Songs {
public:
    explicit Songs(const DuplicateCandidates &candidates)
        : candidates_(candidates), slots_(std::bit_ceil(2 * tracks().size() + 1)), links_(tracks().size()) {
        for (uint32_t i = 0; i < links_.size(); ++i)
            hash(i);
        for (uint32_t i = 0; i < links_.size(); ++i) {
            if (i + kAhead < links_.size())
                __builtin_prefetch(&slots_[links_[i + kAhead].hash & (slots_.size() - 1)]);
            add(i);
        }
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
    void appendTracks(uint32_t first, std::vector<Row> &rows) const {
        for (uint32_t i = first; i != kNone; i = links_[i].next)
            rows.push_back({tracks()[i].duration, static_cast<uint32_t>(rows.size()), tracks()[i].index, first});
    }

    QStringView title(uint32_t track) const { return candidates_.title(tracks()[track]); }
    bool haveSameTitle(uint32_t one, uint32_t other) const {
        return links_[one].titleHash == links_[other].titleHash && title(one) == title(other);
    }

private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t first = kNone;
        uint32_t last = kNone;
    };
    struct Link {
        size_t titleHash = 0;
        uint32_t hash = 0; // of title and artist
        uint32_t next = kNone;
        bool isFirst = false;
    };

    const std::vector<DuplicateCandidates::Track> &tracks() const { return candidates_.tracks(); }

    bool isSameSong(uint32_t one, uint32_t other) const {
        return title(one) == title(other) && candidates_.artist(tracks()[one]) == candidates_.artist(tracks()[other]);
    }

    void hash(uint32_t track) {
        Link &link = links_[track];
        link.titleHash = qHash(title(track), seed_);
        link.hash = static_cast<uint32_t>(qHash(candidates_.artist(tracks()[track]), link.titleHash));
    }

    void add(uint32_t track) {
        Link &link = links_[track];
        const uint32_t hash = link.hash;
        size_t place = hash & (slots_.size() - 1);
        while (slots_[place].first != kNone && (slots_[place].hash != hash || !isSameSong(slots_[place].first, track)))
            place = (place + 1) & (slots_.size() - 1);
        Slot &slot = slots_[place];
        if (slot.first == kNone) {
            slot = {hash, track, track};
            link.isFirst = true;
        } else {
            links_[slot.last].next = track;
            slot.last = track;
        }
    }

    const DuplicateCandidates &candidates_;
    const size_t seed_ = QHashSeed::globalSeed();
    std::vector<Slot> slots_; // at most half of them are taken
    std::vector<Link> links_; // of the tracks
};

/// `firsts` by title, descending; songs of one title stay in their order.
std::vector<uint32_t> sortedByTitle(const std::vector<uint32_t> &firsts, const Songs &songs) {
    std::vector<QStringView> titles;
    titles.reserve(firsts.size());
    for (const uint32_t first : firsts)
        titles.push_back(songs.title(first));
    std::vector<uint32_t> sorted = orderOfTexts(titles, /*ascending=*/false);
    for (uint32_t &place : sorted)
        place = firsts[place];
    return sorted;
}

} // namespace

void DuplicateCandidates::reserve(qsizetype tracks, qsizetype letters) {
    tracks_.reserve(static_cast<size_t>(tracks));
    letters_.reserve(static_cast<size_t>(letters));
}

void DuplicateCandidates::append(QStringView title, QStringView artist, qint64 duration) {
    const uint32_t index = count_++;
    if (duration <= 0 || title.isEmpty() || artist.isEmpty())
        return;
    tracks_.push_back(
        {letters_.size(), static_cast<uint32_t>(title.size()), static_cast<uint32_t>(artist.size()), duration, index});
    letters_.insert(letters_.end(), title.utf16(), title.utf16() + title.size());
    letters_.insert(letters_.end(), artist.utf16(), artist.utf16() + artist.size());
}

std::vector<DuplicateRow> duplicatesAmong(const DuplicateCandidates &candidates) {
    const Songs songs(candidates);
    const std::vector<uint32_t> firsts = sortedByTitle(songs.repeated(), songs);
    std::vector<Row> rows;
    rows.reserve(candidates.tracks().size());
    size_t titleStart = 0; // in rows
    for (size_t i = 0; i < firsts.size(); ++i) {
        songs.appendTracks(firsts[i], rows);
        if (i + 1 < firsts.size() && songs.haveSameTitle(firsts[i], firsts[i + 1]))
            continue;
        std::ranges::sort(std::span(rows).subspan(titleStart), {},
                          [](const Row &row) { return std::pair(-row.duration, row.place); });
        titleStart = rows.size();
    }

    std::vector<DuplicateRow> found;
    found.reserve(rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
        found.push_back({rows[i].index, i == 0 || rows[i].first != rows[i - 1].first});
    return found;
}
