#include "store/SortDescriptor.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>
#include <vector>

namespace {

constexpr uint64_t kSignBit = 1ULL << 63;

// An item on its way: where it stood, and the part of its value that decides now.
struct Row {
    uint64_t part;
    uint32_t index;
};

using Rows = std::vector<Row>;

uint64_t partOfNumber(qint64 number) { return static_cast<uint64_t>(number) ^ kSignBit; }

// The texts of a column one behind the other, each in the form in which it is compared.
class TextColumn {
public:
    void append(QStringView text, SortComparison comparison) {
        letters_.insert(letters_.end(), text.utf16(), text.utf16() + text.size());
        if (comparison == SortComparison::CaseInsensitiveCompare)
            fold(letters_.size() - static_cast<size_t>(text.size()));
        ends_.push_back(letters_.size());
    }

    size_t length(uint32_t index) const { return ends_[index] - start(index); }

    /// Four letters from `depth` on as a number that compares as they do; what is behind the end counts as zeros.
    uint64_t part(uint32_t index, size_t depth) const {
        uint64_t part = 0;
        for (size_t at = start(index) + depth, i = 0; i < 4; ++i, ++at)
            part = part << 16 | (at < ends_[index] ? letters_[at] : 0);
        return part;
    }

private:
    // Folds the letters from `start` on, one to one.
    void fold(size_t start) {
        for (size_t i = start; i < letters_.size(); ++i) {
            char16_t &letter = letters_[i];
            if (letter < 0x80) {
                if (letter >= 'A' && letter <= 'Z')
                    letter += 'a' - 'A';
            } else if (!QChar::isSurrogate(letter)) {
                letter = static_cast<char16_t>(QChar::toCaseFolded(char32_t(letter)));
            } else if (QChar::isHighSurrogate(letter) && i + 1 < letters_.size() &&
                       QChar::isLowSurrogate(letters_[i + 1])) {
                const char32_t folded = QChar::toCaseFolded(QChar::surrogateToUcs4(letter, letters_[i + 1]));
                letter = QChar::highSurrogate(folded);
                letters_[++i] = QChar::lowSurrogate(folded);
            }
        }
    }
    size_t start(uint32_t index) const { return index ? ends_[index - 1] : 0; }

    std::vector<char16_t> letters_;
    std::vector<size_t> ends_;
};

// Byte by byte, from the last one on (a radix sort). Bytes in which all rows agree, as the upper halves of Latin
// letters do, cost nothing.
void sortByBytes(std::span<Row> rows) {
    constexpr int kBytes = sizeof(Row::part);
    const auto byteOf = [](const Row &row, int byte) { return row.part >> 8 * byte & 0xff; };
    std::array<std::array<uint32_t, 256>, kBytes> places{};
    for (const Row &row : rows)
        for (int byte = 0; byte < kBytes; ++byte)
            ++places[byte][byteOf(row, byte)];
    Rows other(rows.size());
    std::span<Row> from = rows;
    std::span<Row> to = other;
    for (int byte = 0; byte < kBytes; ++byte) {
        auto &next = places[byte];
        if (next[byteOf(from[0], byte)] == rows.size())
            continue;
        std::exclusive_scan(next.begin(), next.end(), next.begin(), 0U);
        for (const Row &row : from)
            to[next[byteOf(row, byte)]++] = row;
        std::swap(from, to);
    }
    if (from.data() != rows.data())
        std::ranges::copy(from, rows.begin());
}

// Rows with equal parts keep their order. `rows` comes in the order of the indices wherever its parts are equal.
void sortByPart(std::span<Row> rows) {
    constexpr size_t kMany = 512; // from here on the bytes are faster
    if (std::ranges::is_sorted(rows, {}, &Row::part))
        return;
    if (rows.size() >= kMany)
        sortByBytes(rows);
    else
        std::ranges::sort(rows, {}, [](const Row &row) { return std::pair(row.part, row.index); });
}

// Sorts by four letters, then every run of rows that share these by the next four, and so on: most texts of a library
// differ somewhere behind a beginning that many share, and so each letter is looked at once. A descending sort looks at
// the complements.
void sortTexts(Rows &rows, const TextColumn &column, uint64_t complement) {
    struct Run {
        std::span<Row> rows;
        size_t depth;
    };
    std::vector<Run> runs = {{rows, 0}};
    while (!runs.empty()) {
        const auto [run, depth] = runs.back();
        runs.pop_back();
        bool isAnyLonger = false;
        for (Row &row : run) {
            row.part = column.part(row.index, depth) ^ complement;
            isAnyLonger = isAnyLonger || column.length(row.index) > depth;
        }
        if (!isAnyLonger) {
            // Equal but for zeros at their ends, so the shorter comes first.
            for (Row &row : run)
                row.part = column.length(row.index) ^ complement;
            sortByPart(run);
            continue;
        }
        sortByPart(run);
        for (auto from = run.begin(); from != run.end();) {
            const auto to = std::find_if(from, run.end(), [&](const Row &row) { return row.part != from->part; });
            if (to - from > 1)
                runs.push_back({{from, to}, depth + 4});
            from = to;
        }
    }
}

// The column of one key: what is absent, and the rest in order.
class Column {
public:
    Column(const SongArray &songs, SongItem::ValueGetter getter, const SortDescriptor &descriptor)
        : comparison_(descriptor.comparison), complement_(descriptor.ascending ? 0 : ~0ULL) {
        rows_.reserve(static_cast<size_t>(songs.size()));
        for (qsizetype i = 0; i < songs.size(); ++i)
            append(getter(*songs.at(i)), static_cast<uint32_t>(i));
    }

    /// Where the rows stood, in ascending or descending order of their values.
    std::vector<uint32_t> sorted(bool ascending) {
        if (isText_)
            sortTextRows();
        else
            sortByPart(rows_);
        std::vector<uint32_t> order = ascending ? absent_ : std::vector<uint32_t>();
        for (const Row &row : rows_)
            order.push_back(row.index);
        if (!ascending)
            order.insert(order.end(), absent_.begin(), absent_.end());
        return order;
    }

private:
    void append(const QVariant &value, uint32_t index) {
        switch (value.typeId()) {
        case QMetaType::QString:
            isText_ = true;
            texts_.append(value.toString(), comparison_);
            places_.push_back(index);
            rows_.push_back({0, static_cast<uint32_t>(rows_.size())});
            break;
        case QMetaType::QDateTime:
            rows_.push_back({partOfNumber(value.toDateTime().toMSecsSinceEpoch()) ^ complement_, index});
            break;
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
            rows_.push_back({partOfNumber(value.toLongLong()) ^ complement_, index});
            break;
        default:
            absent_.push_back(index); // lists, too, have no order
        }
    }

    // The rows of texts are numbered among themselves while they are sorted.
    void sortTextRows() {
        sortTexts(rows_, texts_, complement_);
        for (Row &row : rows_)
            row.index = places_[row.index];
    }

    SortComparison comparison_;
    uint64_t complement_;
    bool isText_ = false; // of a key all values are of one kind
    Rows rows_;
    TextColumn texts_;
    std::vector<uint32_t> places_;
    std::vector<uint32_t> absent_;
};

} // namespace

void sortUsingDescriptors(SongArray &songs, const QList<SortDescriptor> &descriptors) {
    if (descriptors.isEmpty())
        return;
    const SortDescriptor &descriptor = descriptors.first();
    const SongItem::ValueGetter getter = SongItem::valueGetterForKey(descriptor.key);
    if (!getter)
        return;
    const std::vector<uint32_t> order = Column(songs, getter, descriptor).sorted(descriptor.ascending);
    if (std::ranges::is_sorted(order))
        return; // a list that is shared with a snapshot is not copied for nothing
    SongArray sorted;
    sorted.reserve(songs.size());
    for (const uint32_t index : order)
        sorted << std::move(songs[index]);
    songs = std::move(sorted);
}

std::vector<uint32_t> orderOfTexts(const std::vector<QStringView> &texts, bool ascending) {
    TextColumn column;
    Rows rows;
    rows.reserve(texts.size());
    for (const QStringView text : texts) {
        column.append(text, SortComparison::Compare);
        rows.push_back({0, static_cast<uint32_t>(rows.size())});
    }
    sortTexts(rows, column, ascending ? 0 : ~0ULL);
    std::vector<uint32_t> order;
    order.reserve(rows.size());
    for (const Row &row : rows)
        order.push_back(row.index);
    return order;
}
