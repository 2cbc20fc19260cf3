// What a drag brings: music files and folders.
//
// Threads: main, which is never held by a disk that does not answer.
#pragma once

#include <QStringList>

class QMimeData;

/// The files with the ending of an MP3 or M4A file, in whatever case, and the folders, in the drag's order. What the
/// disk tells nothing about in time may be a folder.
QStringList droppedMusic(const QMimeData &data);
/// Whether that would be any.
bool holdsMusic(const QMimeData &data);
