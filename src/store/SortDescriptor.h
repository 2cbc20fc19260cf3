// How a list of tracks is sorted.
//
// Threads: as SongItem; orderOfTexts() any.
#pragma once

#include "store/SongArray.h"

#include <vector>

enum class SortComparison {
    Compare,               ///< numbers, dates, texts letter by letter
    CaseInsensitiveCompare ///< texts without regard to case
};

struct SortDescriptor {
    QString key; ///< of SongItem::valueForKey()
    bool ascending = true;
    SortComparison comparison = SortComparison::Compare;

    bool operator==(const SortDescriptor &) const = default;
};

/// Sorts by the first descriptor, stably, absent values first; nothing without a descriptor or with an unknown key.
void sortUsingDescriptors(SongArray &songs, const QList<SortDescriptor> &descriptors);

/// Where the texts stood, in their order letter by letter; equal ones as they came.
std::vector<uint32_t> orderOfTexts(const std::vector<QStringView> &texts, bool ascending);
