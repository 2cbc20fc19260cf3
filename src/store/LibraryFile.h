// The library file as the start of the program sees it: what it is, and how one that can't be read is put aside.
//
// Threads: any; while no DataBaseManager has the file open.
#pragma once

#include <QDateTime>
#include <QString>

/// Milliseconds that a library locked by another program is waited for.
inline constexpr int kLibraryBusyMilliseconds = 200;

/// "Library.db" in the application support folder.
QString defaultLibraryPath();

enum class LibraryState {
    Missing, ///< or empty
    Readable,
    NotADatabase, ///< not an SQLite file, or a damaged one
    OtherColumns, ///< an SQLite file whose table Song is missing or has other columns
    Locked,       ///< another program holds it; it may be readable later
    NotOpenable,  ///< it can't be opened now: no right to it, a full disk, an error of the disk, no memory
};

/// There is no file, or an empty one, as a full disk leaves it.
bool isLibraryToBeMade(const QString &path);

/// Reads the whole table once; changes nothing in it.
LibraryState libraryStateOf(const QString &path);

/// Renames the library and the files that SQLite keeps beside it to "Library (unreadable 2026-11-21 14.03.22).db" in
/// the same folder, never over an existing file. The new path, or null if that failed; then nothing was renamed.
QString setAsideLibrary(const QString &path, const QDateTime &now = QDateTime::currentDateTime());
