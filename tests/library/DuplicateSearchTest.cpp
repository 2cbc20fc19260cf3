#include "library/DuplicateSearch.h"

#include <QStringList>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

struct Song {
    QString title, artist;
    int duration = 0;

    bool takesPart() const { return duration > 0 && !title.isEmpty() && !artist.isEmpty(); }
};

/// Every track beside every other one.
std::vector<DuplicateRow> scanned(const std::vector<Song> &all) {
    std::vector<uint32_t> found;
    std::vector<bool> isDuplicate(all.size());
    for (uint32_t a = 0; a < all.size(); ++a) {
        if (!all[a].takesPart() || isDuplicate[a])
            continue;
        for (uint32_t b = 0; b < all.size(); ++b) {
            if (a == b || !all[b].takesPart() || all[a].title != all[b].title || all[a].artist != all[b].artist)
                continue;
            isDuplicate[a] = isDuplicate[b] = true;
            if (std::ranges::find(found, a) == found.end())
                found.push_back(a);
            found.push_back(b);
        }
    }
    // The longest of the last title comes to the front, again and again.
    std::vector<DuplicateRow> rows;
    while (!found.empty()) {
        auto best = found.begin();
        for (auto it = found.begin(); it != found.end(); ++it)
            if (all[*it].title > all[*best].title ||
                (all[*it].title == all[*best].title && all[*it].duration > all[*best].duration))
                best = it;
        const bool isFirst = rows.empty() || all[*best].title != all[rows.back().index].title ||
                             all[*best].artist != all[rows.back().index].artist;
        rows.push_back({*best, isFirst});
        found.erase(best);
    }
    return rows;
}

std::string shown(const std::vector<DuplicateRow> &rows) {
    std::string text;
    for (const DuplicateRow &row : rows)
        text += (row.isKept ? "+" : "-") + std::to_string(row.index) + ' ';
    return text;
}

} // namespace

TEST(DuplicateSearch, FindsWhatAScanOfAllPairsFinds) {
    // "Aa" and "BB" are one number to many a hash; the last one sorts behind a surrogate pair unit by unit.
    const QStringList titles{"",  QString(), "Aa",         "BB", "song", "Song", QString("x") + QChar(0),
                             "x", "😀",       QChar(0xfffd)};
    const QStringList artists{"", QString(), "Somebody", "somebody", "Nobody"};
    std::mt19937 random(7);
    const auto pick = [&random](qsizetype count) { return static_cast<int>(random() % static_cast<size_t>(count)); };
    for (int library = 0; library < 5000; ++library) {
        std::vector<Song> all(static_cast<size_t>(pick(25)));
        const int titleCount = 1 + pick(titles.size()); // in some libraries nearly all are the same
        std::vector<DuplicateCandidate> tracks;
        for (Song &track : all) {
            track = {titles.at(titles.size() - 1 - pick(titleCount)), artists.at(pick(artists.size())),
                     pick(5) * 100 - 100};
            tracks.push_back({track.title, track.artist, track.duration});
        }
        const auto found = duplicatesAmong(DuplicateCandidates(tracks));
        ASSERT_EQ(found, scanned(all)) << "library " << library << ": " << shown(found);
    }
}
