#include "platform/files/Folders.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {
QString ownFolderIn(const QString &folder) { return folder + '/' + kApplicationFolderName; }
} // namespace

QString applicationSupportFolder() {
    QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (QDir::isRelativePath(data)) // or the library would lie elsewhere with each start from another folder
        data = QDir::homePath() + "/.local/share";
    const QString earlier = ownFolderIn(QDir::homePath() + "/Library/Application Support");
    return QFileInfo::exists(earlier) ? earlier : ownFolderIn(data);
}

QString coverImageFolder() { return applicationSupportFolder() + "/CoverImage"; }

QString defaultMusicFolder() {
    QString music = QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
    if (music.isEmpty() || music == QDir::homePath()) // how a desktop says that it has none
        music = QDir::homePath() + "/Music";
    return resolvingSymlinks(ownFolderIn(music));
}

QString resolvingSymlinks(const QString &path) {
    const QFileInfo info(QDir::cleanPath(path));
    if (QString resolved = info.canonicalFilePath(); !resolved.isEmpty())
        return resolved;
    if (info.isRoot() || info.fileName().isEmpty())
        return info.absoluteFilePath();
    const QString parent = resolvingSymlinks(info.absolutePath());
    return (parent.endsWith('/') ? parent : parent + '/') + info.fileName();
}
