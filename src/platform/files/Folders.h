// Where the program's things stand, by the desktop's own conventions. Nowhere else is this known.
//
// Threads: any.
#pragma once

#include <QString>

/// The name of the application's own folders: "Tessarine Corvidia".
inline constexpr const char *kApplicationFolderName = "Tessarine Corvidia";

/// "$XDG_DATA_HOME/Tessarine Corvidia", so by default "~/.local/share/Tessarine Corvidia", or "~/Library/Application
/// Support/Tessarine Corvidia" where that exists: earlier versions put the library there, and it stays where it is.
/// Without a trailing slash. Not created here.
QString applicationSupportFolder();

/// The folder of the cover images inside applicationSupportFolder().
QString coverImageFolder();

/// "Tessarine Corvidia" in the desktop's music folder ("~/Musik" on a German desktop, "~/Music" where there is none),
/// with symbolic links resolved: the default place of recordings. Not created here.
QString defaultMusicFolder();

/// `path` with symbolic links resolved as far as it exists, and made absolute; what does not exist yet stays as it is.
QString resolvingSymlinks(const QString &path);
