#include "library/SearchIndex.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char kSeparator = '\xFF';
const qsizetype kInPlace = FoldedBuffer().capacity(); // letters that need no memory of their own
// Longer texts are left to the C library, whose search stays linear whatever text it meets.
constexpr size_t kLongText = 64;

// Grows by an eighth, where the vector would double.
void makeRoom(std::vector<char> &texts, size_t count) {
    if (texts.capacity() - texts.size() < count)
        texts.reserve(texts.size() + count + texts.size() / 8);
}

// The first place of `wanted` in [begin, end), or `end`. It looks at blocks of places at once, for three of the bytes,
// in a form that compilers turn into vector instructions.
const char *find(const char *begin, const char *end, QByteArrayView wanted) {
    const auto size = static_cast<size_t>(wanted.size());
    const char *text = wanted.data();
    if (size > kLongText || size == 1) {
        const auto *place = static_cast<const char *>(memmem(begin, static_cast<size_t>(end - begin), text, size));
        return place ? place : end;
    }
    constexpr size_t block = 32;
    const size_t middle = size / 2;
    const size_t last = size - 1;
    const char *at = begin;
    while (static_cast<size_t>(end - at) >= block + last) {
        std::array<unsigned char, block> isLike;
        unsigned char isAny = 0;
        for (size_t i = 0; i < block; ++i) {
            isLike[i] = static_cast<unsigned char>(at[i] == text[0]) &
                        static_cast<unsigned char>(at[i + middle] == text[middle]) &
                        static_cast<unsigned char>(at[i + last] == text[last]);
            isAny |= isLike[i];
        }
        for (size_t i = 0; isAny && i < block; ++i)
            if (isLike[i] && memcmp(at + i, text, size) == 0)
                return at + i;
        at += block;
    }
    return std::search(at, end, text, text + size);
}

} // namespace

SearchIndex::SearchIndex(const SongArray &songs) {
    slots_.reserve(songs.size());
    starts_.reserve(static_cast<size_t>(songs.size()));
    songs_.reserve(static_cast<size_t>(songs.size()));
    for (const SongPtr &song : songs)
        put(*song);
}

void SearchIndex::put(const SongItem &song) {
    remove(song);
    append(song);
}

void SearchIndex::remove(const SongItem &song) {
    const auto slot = slots_.constFind(&song);
    if (slot == slots_.cend())
        return;
    leaveHole(slot.value());
    slots_.erase(slot);
    if (holes_ > 1000 + songs_.size() / 4 || holeBytes_ > 100'000 + texts_.size() / 4)
        moveTogether();
}

void SearchIndex::append(const SongItem &song) {
    slots_.insert(&song, static_cast<Slot>(songs_.size()));
    songs_.push_back(&song);
    starts_.push_back(texts_.size());
    append(song.title(), last_[0]);
    append(song.artist(), last_[1]);
    append(song.album(), last_[2]);
}

void SearchIndex::append(const QString &text, LastText &last) {
    if (text != last.text) {
        last.text = text;
        foldInto(last.folded, text);
    }
    makeRoom(texts_, static_cast<size_t>(last.folded.size()) + 1);
    texts_.insert(texts_.end(), last.folded.begin(), last.folded.end());
    texts_.push_back(kSeparator);
    // A long one is not remembered: an array of Qt 6.4 that has memory of its own loses it when another is moved there.
    if (last.folded.capacity() > kInPlace) {
        last.text.clear();
        last.folded.clear();
        last.folded.squeeze();
    }
}

void SearchIndex::leaveHole(Slot slot) {
    const size_t start = starts_[slot];
    const size_t end = slotEnd(slot);
    std::fill(texts_.begin() + static_cast<ptrdiff_t>(start), texts_.begin() + static_cast<ptrdiff_t>(end), kSeparator);
    songs_[slot] = nullptr;
    ++holes_;
    holeBytes_ += end - start;
}

void SearchIndex::moveTogether() {
    Slot to = 0;
    size_t toByte = 0;
    for (Slot slot = 0; slot < songs_.size(); ++slot) {
        if (!songs_[slot])
            continue;
        const size_t start = starts_[slot];
        const size_t size = slotEnd(slot) - start;
        memmove(texts_.data() + toByte, texts_.data() + start, size);
        songs_[to] = songs_[slot];
        starts_[to] = toByte;
        slots_[songs_[to]] = to;
        toByte += size;
        ++to;
    }
    songs_.resize(to);
    starts_.resize(to);
    texts_.resize(toByte);
    holes_ = 0;
    holeBytes_ = 0;
}

SongArray SearchIndex::songsHolding(QByteArrayView folded, const SongArray &base) {
    SongArray holding;
    if (folded.isEmpty())
        return holding;
    findSlots(folded);
    rows_.resize(static_cast<size_t>(base.size()));
    std::vector<qsizetype> held;
    for (qsizetype row = 0; row < base.size(); ++row)
        if (isHeldBy(base.at(row), row, folded))
            held.push_back(row);

    // To share a song is to write to it, and most of them lie in no cache: so they are asked for in time.
    constexpr size_t ahead = 12;
    holding.reserve(static_cast<qsizetype>(held.size()));
    for (size_t i = 0; i < held.size(); ++i) {
        if (i + ahead < held.size())
            __builtin_prefetch(base.at(held[i + ahead]).get(), /*rw=*/1);
        holding << base.at(held[i]);
    }
    return holding;
}

void SearchIndex::findSlots(QByteArrayView folded) {
    found_.assign(songs_.size(), false);
    if (texts_.empty())
        return;
    const char *begin = texts_.data();
    const char *end = begin + texts_.size();
    Slot slot = 0;
    for (const char *at = find(begin, end, folded); at != end; at = find(begin + slotEnd(slot), end, folded)) {
        while (begin + slotEnd(slot) <= at)
            ++slot;
        found_[slot] = true;
    }
}

bool SearchIndex::isHeldBy(const SongPtr &song, qsizetype row, QByteArrayView folded) {
    Slot &slot = rows_[static_cast<size_t>(row)];
    if (slot >= songs_.size() || songs_[slot] != song.get()) {
        const auto known = slots_.constFind(song.get());
        if (known == slots_.cend())
            return containsFolded(song->title(), folded) || containsFolded(song->artist(), folded) ||
                   containsFolded(song->album(), folded);
        slot = known.value();
    }
    return found_[slot];
}
