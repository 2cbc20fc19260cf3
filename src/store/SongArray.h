// A list of tracks as it passes between the parts of the program.
//
// Threads: as SongItem.
#pragma once

#include "store/SongItem.h"

#include <QList>
#include <memory>

using SongPtr = std::shared_ptr<SongItem>;
using SongArray = QList<SongPtr>;
/// One list under several hands: whoever changes it tells the others to look again.
using SharedSongArray = std::shared_ptr<SongArray>;
