#include "platform/files/Folders.h"

#include <QDir>
#include <QFileInfo>

QString applicationSupportFolder() {
    return QDir::homePath() + "/Library/Application Support/" + kApplicationFolderName;
}

QString coverImageFolder() { return applicationSupportFolder() + "/CoverImage"; }

QString defaultMusicFolder() { return resolvingSymlinks(QDir::homePath() + "/Music/" + kApplicationFolderName); }

QString resolvingSymlinks(const QString &path) {
    const QFileInfo info(QDir::cleanPath(path));
    if (QString resolved = info.canonicalFilePath(); !resolved.isEmpty())
        return resolved;
    if (info.isRoot() || info.fileName().isEmpty())
        return info.absoluteFilePath();
    const QString parent = resolvingSymlinks(info.absolutePath());
    return (parent.endsWith('/') ? parent : parent + '/') + info.fileName();
}
