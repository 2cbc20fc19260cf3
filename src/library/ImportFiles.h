// Which files an import is to read: what was chosen or dropped, folders with all that is below them.
//
// Threads: any. Looks at the disk, so not the main thread.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

struct ImportFile {
    QString path;
    /// False for what can't be a track whatever it holds: a pipe, a device, a folder that may not be read, a file that
    /// is gone or whose name is no text. Such a file is not opened.
    bool isReadable = true;
};

/// What of `paths` is new, in its order, the contents of a folder by their names. A file whose path stands in the
/// library is left out, and so is one that is the same as one of `known`, or as another new one, by another path. Links
/// are followed, to each folder once. Only names of MP3 and M4A files count, in folders none that begins with a dot.
/// Ends early, with what it has, when `isCancelled` says so.
QList<ImportFile> filesToImport(const QStringList &paths, const QStringList &known,
                                const std::function<bool()> &isCancelled);
