// Makes a song's name out of what a player says it plays.
//
// Threads: any.
#pragma once

#include "identify/recognition/RecogniserSource.h"
#include "platform/desktop/PlayedTitle.h"

#include <optional>
#include <utility>

/// Who it is by and what it is called; nothing where the player names no song: a station, an advert, a file, a title
/// without an artist. Radio players put "Artist - Title" into the title, and the station's name, if any, where the
/// artist belongs; `isArtistOfStation` says that the artist is known to be such a name.
std::optional<Recognition> heardName(const PlayedTitle &played, bool isArtistOfStation = false);

/// What stands before and behind the first dash between blanks; nothing where one of them is missing.
std::optional<std::pair<QString, QString>> halvesOf(const QString &title);
