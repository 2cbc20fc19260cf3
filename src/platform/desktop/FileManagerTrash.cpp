// The Trash as the desktop's programs share it: a folder with "files" and, for each of them, a note in "info" that says
// where it stood. Qt's own moveToTrash() looks for ever for a free name where a name is long, and takes folders too.
#include "platform/desktop/FileManager.h"

#include "platform/run/LocalizedString.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kLongestName = 200; // bytes; with a number and ".trashinfo" it stays below 255
constexpr int kTriesInOrder = 8;
constexpr int kMostTries = 60;

/// What stands behind a name when `tries` names were taken. Where a crowd shares a name, as "01.mp3" of every album,
/// looking for the lowest free number would take the longer the more there are.
quint32 numberFor(int tries) {
    const auto next = static_cast<quint32>(tries) + 1;
    return tries < kTriesInOrder ? next : next + QRandomGenerator::global()->bounded(1U << qMin(tries, 30));
}

struct Trash {
    QByteArray folder;
    QByteArray top; ///< what the notes' paths start from; empty for the user's own Trash, whose paths are absolute
};

std::optional<struct stat> statusOf(const QByteArray &path) {
    struct stat status {};
    return lstat(path.constData(), &status) == 0 ? std::optional(status) : std::nullopt;
}

/// A folder of this user alone, made where it is missing; a link to one is none.
bool isOwnFolder(const QByteArray &path) {
    mkdir(path.constData(), 0700);
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode) && status->st_uid == geteuid();
}

bool isReady(const QByteArray &trash) {
    return isOwnFolder(trash) && isOwnFolder(trash + "/files") && isOwnFolder(trash + "/info");
}

QByteArray folderOf(const QByteArray &path) { return path.left(std::max<qsizetype>(path.lastIndexOf('/'), 1)); }

/// The Trash of the file system that `path` stands on.
std::optional<Trash> trashFor(const QByteArray &path) {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QDir().mkpath(data);
    QByteArray top = folderOf(path);
    const auto device = statusOf(top);
    const auto home = statusOf(QFile::encodeName(QFileInfo(data).canonicalFilePath()));
    if (!device)
        return std::nullopt;
    if (home && home->st_dev == device->st_dev) {
        const QByteArray own = QFile::encodeName(data) + "/Trash";
        return isReady(own) ? std::optional(Trash{own, {}}) : std::nullopt;
    }
    for (QByteArray above = folderOf(top); above != top; above = folderOf(top)) {
        const auto status = statusOf(above);
        if (!status || status->st_dev != device->st_dev)
            break;
        top = above;
    }
    const QByteArray user = QByteArray::number(geteuid());
    const auto shared = statusOf(top + "/.Trash");
    if (shared && S_ISDIR(shared->st_mode) && (shared->st_mode & S_ISVTX) && isReady(top + "/.Trash/" + user))
        return Trash{top + "/.Trash/" + user, top};
    if (isReady(top + "/.Trash-" + user))
        return Trash{top + "/.Trash-" + user, top};
    return std::nullopt;
}

/// The note's bytes. Whatever a name holds, it stays in its line.
QByteArray noteFor(const Trash &trash, const QByteArray &path) {
    const QByteArray shown = trash.top.isEmpty() ? path : path.mid(trash.top.size() + (trash.top == "/" ? 0 : 1));
    return "[Trash Info]\nPath=" + shown.toPercentEncoding("/") +
           "\nDeletionDate=" + QDateTime::currentDateTime().toString("yyyy-MM-ddThh:mm:ss").toLatin1() + '\n';
}

/// 0, or what went wrong. EEXIST means that `name` is taken.
int moveUnder(const QByteArray &name, const Trash &trash, const QByteArray &path, TrashedFile &trashed) {
    const QByteArray notePath = trash.folder + "/info/" + name + ".trashinfo";
    const int descriptor = open(notePath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return errno;
    const QByteArray note = noteFor(trash, path);
    const ssize_t written = write(descriptor, note.constData(), static_cast<size_t>(note.size()));
    int failure = written == note.size() ? 0 : written < 0 ? errno : ENOSPC; // in part where there is little room
    if (close(descriptor) != 0)
        failure = errno;
    const QByteArray target = trash.folder + "/files/" + name;
    // The note reserves the name; what stands there without one came from a program that was cut short.
    if (failure == 0 && statusOf(target))
        failure = EEXIST;
    if (failure == 0 && rename(path.constData(), target.constData()) != 0)
        failure = errno;
    if (failure != 0)
        unlink(notePath.constData());
    trashed.file = target;
    trashed.note = notePath;
    return failure;
}

/// A name that leaves room for a number, cut between two characters. The note has the whole one.
QByteArray shortened(const QByteArray &name) {
    qsizetype size = std::min<qsizetype>(name.size(), kLongestName);
    while (size > 0 && size < name.size() && (name.at(size) & 0xc0) == 0x80)
        --size;
    return name.left(size > 0 ? size : kLongestName);
}

int moveInto(const Trash &trash, const QByteArray &path, TrashedFile &trashed) {
    const QByteArray base = shortened(path.mid(path.lastIndexOf('/') + 1));
    int failure = EEXIST;
    for (int tries = 0; failure == EEXIST && tries < kMostTries; ++tries)
        failure =
            moveUnder(tries == 0 ? base : base + '.' + QByteArray::number(numberFor(tries)), trash, path, trashed);
    return failure;
}

int throwAway(const QString &path, TrashedFile &trashed) {
    if (path.isEmpty() || path.contains(QChar::Null))
        return ENOENT;
    // The folder's real place tells the file system; the file itself may be a link, which goes and not what it names.
    const QFileInfo file(path);
    const QString folder = QFileInfo(file.absolutePath()).canonicalFilePath();
    const QByteArray whole = QFile::encodeName(QDir(folder).filePath(file.fileName()));
    const auto status = folder.isEmpty() ? std::nullopt : statusOf(whole);
    if (!status)
        return ENOENT;
    // A library from elsewhere may name anything: a folder with all that is in it is no track.
    if (S_ISDIR(status->st_mode))
        return EISDIR;
    trashed.path = path;
    trashed.identity = status->st_ino;
    const auto trash = trashFor(whole);
    return trash ? moveInto(*trash, whole, trashed) : EXDEV;
}

/// Moves a file to where nothing stands. 0, or what went wrong; EEXIST where something does.
int moveToFree(const QByteArray &from, const QByteArray &to) {
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // Some network file systems know links only.
    if (link(from.constData(), to.constData()) != 0)
        return errno;
    unlink(from.constData());
    return 0;
}

/// "song.mp3", "song 2.mp3", "song 3.mp3" and so on.
QString numbered(const QString &path, quint32 number) {
    const QFileInfo file(path);
    if (number == 1)
        return path;
    const QString ending = file.suffix().isEmpty() ? QString() : QLatin1Char('.') + file.suffix();
    return file.path() + QLatin1Char('/') + file.completeBaseName() + QLatin1Char(' ') + QString::number(number) +
           ending;
}

} // namespace

bool moveToTrash(const QString &path, QString *error, TrashedFile *trashed) {
    TrashedFile gone;
    const int failure = throwAway(path, gone);
    if (failure != 0 && error)
        *error =
            failure == EXDEV ? localizedString("There is no Trash where the file stands.") : qt_error_string(failure);
    if (failure == 0 && trashed)
        *trashed = gone;
    return failure == 0;
}

QString restoreFromTrash(const TrashedFile &trashed, QString *error) {
    const auto status = statusOf(trashed.file);
    int failure = status && status->st_ino == trashed.identity ? EEXIST : ENOENT;
    if (failure == EEXIST)
        QDir().mkpath(QFileInfo(trashed.path).path()); // where that fails the move says why
    QString path;
    for (int tries = 0; failure == EEXIST && tries < kMostTries; ++tries) {
        path = numbered(trashed.path, numberFor(tries));
        failure = moveToFree(trashed.file, QFile::encodeName(path));
    }
    if (failure != 0) {
        if (error)
            *error = qt_error_string(failure);
        return {};
    }
    unlink(trashed.note.constData());
    return path;
}
