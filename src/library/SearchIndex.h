// The texts of the library in the form in which a search compares them.
//
// They lie one behind the other in one piece of memory, which a search runs through at the memory's speed. A text that
// changes leaves a hole and comes anew at the end; when the holes have grown, all moves together.
//
// Threads: as SongItem.
#pragma once

#include "platform/run/FoldedText.h"
#include "store/SongArray.h"

#include <QHash>
#include <array>
#include <cstdint>
#include <vector>

class SearchIndex {
public:
    explicit SearchIndex(const SongArray &songs);

    /// Takes `song` in, or its texts anew. Whoever takes a song in removes it before it ends.
    void put(const SongItem &song);
    void remove(const SongItem &song);

    /// Those of `base` whose title, artist or album holds the text that `folded` is the folded form of, in the order of
    /// `base`. Songs that the index doesn't know are looked at themselves.
    SongArray songsHolding(QByteArrayView folded, const SongArray &base);

private:
    using Slot = uint32_t;

    // The last text of a field: neighbours often share artist and album.
    struct LastText {
        QString text;
        FoldedBuffer folded;
    };

    size_t slotEnd(Slot slot) const { return slot + 1 < starts_.size() ? starts_[slot + 1] : texts_.size(); }
    void append(const SongItem &song);
    void append(const QString &text, LastText &last);
    void leaveHole(Slot slot);
    void moveTogether();
    void findSlots(QByteArrayView folded);
    bool isHeldBy(const SongPtr &song, qsizetype row, QByteArrayView folded);

    std::vector<char> texts_;             // of each slot title, artist and album, a byte that no text has behind each
    std::vector<size_t> starts_;          // of the slots in texts_
    std::vector<const SongItem *> songs_; // of the slots; null for a hole
    QHash<const SongItem *, Slot> slots_;
    size_t holes_ = 0;        // slots
    size_t holeBytes_ = 0;    // their bytes in texts_
    std::vector<bool> found_; // the slots that the last search found
    std::vector<Slot> rows_;  // the slots of the rows of the last base, right or not
    std::array<LastText, 3> last_;
};
