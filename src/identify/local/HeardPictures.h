// The pictures that players name as files, copied while they stand: with its next song a player removes such a file, or
// writes another picture into it.
//
// Threads: main; the copies are made on a worker's.
#pragma once

#include "platform/desktop/PlayedTitle.h"

#include <QObject>
#include <chrono>

class HeardPictures {
public:
    /// A picture is copied so long after its title was told, if that is still told then: some players write it only a
    /// moment later.
    explicit HeardPictures(std::chrono::milliseconds settle = std::chrono::seconds(1)) : settle_(settle) {}

    /// Where the picture of `title`, told now, is found from now on. A file's copy has a place before it is there, and
    /// stays for a week; what lies in the network is left there.
    QUrl placeOf(const PlayedTitle &title);

private:
    const std::chrono::milliseconds settle_;
    PlayedTitle last_; // whose picture is at place_
    QUrl place_;
    QObject owner_;
};
