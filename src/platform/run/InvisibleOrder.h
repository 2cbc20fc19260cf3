// Characters that are not seen and change how others are.
//
// Threads: any.
#pragma once

#include <QChar>

/// Whether `character` turns or hides the text behind it: left in a title that came from outside, it would have a line
/// or a file's name read as another. The joiners, which some scripts are written with, do not.
inline bool isInvisibleOrder(QChar character) {
    const char16_t code = character.unicode();
    return (code >= 0x200b && code <= 0x200f && code != 0x200c && code != 0x200d) ||
           (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}
