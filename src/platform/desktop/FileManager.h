// The desktop's file manager and its Trash.
//
// Threads: main.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

/// A file in the Trash.
struct TrashedFile {
    QString path;          ///< where it stood
    QByteArray file;       ///< where it is
    QByteArray note;       ///< what the Trash knows of it
    uint64_t identity = 0; ///< on its file system: another file may get the name once the Trash was emptied
};

/// Moves a file into the user's Trash (of the desktop, or of the file system the file stands on) before it returns.
/// False, with the reason in `error`, when the file stays where it is.
bool moveToTrash(const QString &path, QString *error = nullptr, TrashedFile *trashed = nullptr);

/// Brings a file back to where it stood, or under a free name beside that where something else stands there now. Its
/// path; null, with the reason in `error`, when the Trash no longer has it or it can't stand there.
QString restoreFromTrash(const TrashedFile &trashed, QString *error = nullptr);

/// Shows `path` selected in the file manager, or opens its folder where no file manager can do that. Does not wait.
void selectFileInFileManager(const QString &path);

/// Opens a folder, or whatever else the desktop has a program for.
void openWithDesktop(const QString &path);
