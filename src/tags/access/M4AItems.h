// The item list of an M4A as bytes. TagLib makes every item anew when it saves and drops those that it does not know;
// what a write leaves alone is put back behind it, byte for byte.
//
// Threads: any.
#pragma once

#include "tags/access/TagGuard.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Items, each as the bytes of its atom.
using M4AItems = std::vector<std::string>;

/// The four characters of an item's name.
std::string_view nameOfM4AItem(std::string_view item);

/// The items in the content of an `ilst`; nothing where one is torn. Less than an atom's header may be left over.
std::optional<M4AItems> splitM4AItems(std::string_view content);

/// The items of the list that `look` found, none if it found no list; nothing where one is torn, or where they are more
/// than any file has.
std::optional<M4AItems> readM4AItems(TagStream &stream, const Mp4Look &look);

/// Bytes that a list must be longer than the items which are to take its place.
inline constexpr size_t kM4AListSpare = 33 + 8;

/// Puts `items` in the place of the list that `look` found, with a handler before them where there is none, without
/// which many players see no items, and free space behind them. Nothing else in the file moves. False where they don't
/// fit or the write failed.
[[nodiscard]] bool writeM4AItems(TagStream &stream, const Mp4Look &look, const M4AItems &items);
