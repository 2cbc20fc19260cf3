// Makes a plain M4A of a fragmented one.
//
// Threads: any; blocks on the disk.
#pragma once

#include <QString>
#include <cstdint>

/// Rewrites the fragmented M4A at `path` as a plain one, through a file beside it that is renamed over it when it is
/// whole. A torn last packet is left out. `frames` is the exact length at the file's rate, which trims the encoder's
/// padding off the last packet; -1 when it is not known. Returns a null string on success, else the system's text;
/// the file is then as it was.
QString makePlainM4a(const QString &path, int64_t frames);
