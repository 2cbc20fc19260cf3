// The desktop's file manager and its Trash.
//
// Threads: main.
#pragma once

#include <QString>

/// Moves a file into the user's Trash (of the desktop, or of the file system the file stands on) before it returns.
/// False, with the reason in `error`, when the file stays where it is.
bool moveToTrash(const QString &path, QString *error = nullptr);

/// Shows `path` selected in the file manager, or opens its folder where no file manager can do that. Does not wait.
void selectFileInFileManager(const QString &path);

/// Opens a folder, or whatever else the desktop has a program for.
void openWithDesktop(const QString &path);
