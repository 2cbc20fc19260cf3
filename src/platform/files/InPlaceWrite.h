// Writes a file in place where none can be put beside it, in a folder that may not be written.
//
// The old bytes are kept in a folder of the program's own until the new ones are on the disk: whoever dies meanwhile,
// the next start, or the next change of a file, puts the old ones back. Until then a reader may meet half of each.
//
// Threads: any.
#pragma once

#include <QByteArray>

/// An empty file without a name in the program's own folder, for reading and writing; -1 and errno if there can be
/// none.
int openNamelessFile();

/// Writes the content of `source` over `target`, which stands at `path`; both are open for reading, `target` for
/// writing too. False and errno if that failed; the file has its old bytes then, or gets them by the next
/// mendInterruptedWrites().
[[nodiscard]] bool writeInPlace(int target, const QByteArray &path, int source);

/// Puts back the bytes of files that a killed process left half written. What can't be reached now waits.
void mendInterruptedWrites();
