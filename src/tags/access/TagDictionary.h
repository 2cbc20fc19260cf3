// The dictionary in which tags travel between files, services and what shows them.
//
// Threads: any; a track belongs to the thread that asks.
#pragma once

#include "store/SongItem.h"

#include <QImage>
#include <QVariantMap>

/// The keys. A text is a QString, absent ones leave the file's as they are.
namespace TagKey {
inline constexpr const char *kTitle = "title";
inline constexpr const char *kArtist = "artist";
inline constexpr const char *kAlbum = "album";
/// A number as read from a file, a number or a text that starts with one when written; only a year above 0 is.
inline constexpr const char *kYear = "year";
inline constexpr const char *kGenre = "genre";
inline constexpr const char *kComment = "comment";
/// A list of QImage. Absent, a file's pictures stay; an empty list removes them.
inline constexpr const char *kCover = "cover";
} // namespace TagKey

/// The picture chosen for `song`, or the default cover where none is chosen or the chosen one can't be loaded.
QImage chosenCoverOf(const SongItem &song);

/// The tags of `song` as they go into its file. An absent text gets its default, an empty one stays empty.
/// `isWithCover`: with chosenCoverOf() as the one cover, else without that key.
QVariantMap tagDictionaryOf(const SongItem &song, bool isWithCover);
