// Where the program's things stand below the user's home folder.
//
// Threads: any.
#pragma once

#include <QString>

/// The name of the application's own folders: "Tessarine Corvidia".
inline constexpr const char *kApplicationFolderName = "Tessarine Corvidia";

/// "~/Library/Application Support/Tessarine Corvidia", without a trailing slash. Not created here.
QString applicationSupportFolder();

/// The folder of the cover images inside applicationSupportFolder().
QString coverImageFolder();

/// "~/Music/Tessarine Corvidia" with symbolic links resolved, the default place of recordings. Not created here.
QString defaultMusicFolder();

/// `path` with symbolic links resolved as far as it exists, and made absolute; what does not exist yet stays as it is.
QString resolvingSymlinks(const QString &path);
