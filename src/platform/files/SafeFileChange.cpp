#include "platform/files/SafeFileChange.h"

#include "platform/files/FileCopy.h"
#include "platform/files/InPlaceWrite.h"

#include <QFile>
#include <QFileInfo>
#include <atomic>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <set>
#include <sys/file.h>
#include <sys/xattr.h>
#include <tuple>
#include <unistd.h>

namespace {
// The attributes that can't be set (a security label without the right to it) stay behind; the file system gives its
// own to a new file.
void copyAttributes(int source, int target) {
    QByteArray names(64 * 1024, Qt::Uninitialized);
    const ssize_t size = ::flistxattr(source, names.data(), static_cast<size_t>(names.size()));
    QByteArray value(64 * 1024, Qt::Uninitialized);
    for (ssize_t at = 0; at < size;) {
        const char *name = names.constData() + at;
        const ssize_t length = ::fgetxattr(source, name, value.data(), static_cast<size_t>(value.size()));
        if (length >= 0)
            static_cast<void>(::fsetxattr(target, name, value.constData(), static_cast<size_t>(length), 0));
        at += static_cast<ssize_t>(std::strlen(name)) + 1;
    }
}

bool isSame(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// What a killed process left is looked for once in each process, and its copies once in each folder; a process that was
// forked off looks for itself.
bool isFirstChangeIn(dev_t device, ino_t folder) {
    static std::mutex mutex;
    static std::set<std::tuple<pid_t, dev_t, ino_t>> folders;
    const std::lock_guard guard(mutex);
    return folders.emplace(::getpid(), device, folder).second;
}

bool isRightsError(int error) { return error == EACCES || error == EPERM || error == EROFS; }
} // namespace

SafeFileChange::SafeFileChange(const QString &path) : path_(QFile::encodeName(QFileInfo(path).canonicalFilePath())) {
    if (isFirstChangeIn(0, 0))
        mendInterruptedWrites();
    if (openFolder() && openCopy())
        return;
    error_ = errno;
    discard();
}

bool SafeFileChange::openFolder() {
    const qsizetype slash = path_.lastIndexOf('/');
    if (slash < 0) {
        errno = ENOENT;
        return false;
    }
    name_ = path_.mid(slash + 1);
    const QByteArray folder = path_.left(std::max<qsizetype>(slash, 1));
    folder_ = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0 && errno == EACCES)
        folder_ = ::open(folder.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    struct stat info {};
    if (folder_ < 0 || ::faccessat(folder_, name_.constData(), W_OK, 0) != 0 || ::fstat(folder_, &info) != 0)
        return false;
    if (isFirstChangeIn(info.st_dev, info.st_ino))
        removeLeftovers();
    return true;
}

SafeFileChange::~SafeFileChange() {
    discard();
    if (folder_ >= 0)
        ::close(folder_);
}

// The name carries the process for whoever finds it. A lock, which ends with its process, tells a copy that is being
// made from one that was left behind.
bool SafeFileChange::openCopy() {
    // O_NONBLOCK: opening a pipe must not wait for its other end.
    const Descriptor source(::openat(folder_, name_.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (source.get() < 0 || ::fstat(source.get(), &before_) != 0)
        return false;
    if (!S_ISREG(before_.st_mode)) {
        errno = EINVAL;
        return false;
    }
    static std::atomic<unsigned> number = 0;
    const QByteArray name =
        copyPrefix() + QByteArray::number(::getpid()) + '-' + QByteArray::number(number++) + copySuffix();
    copy_ = ::openat(folder_, name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (copy_ < 0 && isRightsError(errno)) {
        copy_ = openNamelessFile();
        return copy_ >= 0 && copyContent(source.get(), copy_);
    }
    if (copy_ < 0)
        return false;
    copyName_ = name;
    struct stat own {};
    // A sweep may have taken the file between its making and its lock; it has no name then.
    if (::flock(copy_, LOCK_EX | LOCK_NB) == 0 && (::fstat(copy_, &own) != 0 || own.st_nlink == 0)) {
        errno = EBUSY;
        return false;
    }
    if (!copyContent(source.get(), copy_))
        return false;
    copyAttributes(source.get(), copy_);
    // Of a file of somebody else's that this user may write, the owner can't be kept; the group often can.
    if (::fchown(copy_, before_.st_uid, before_.st_gid) != 0)
        static_cast<void>(::fchown(copy_, static_cast<uid_t>(-1), before_.st_gid));
    return ::fchmod(copy_, before_.st_mode & 07777) == 0;
}

void SafeFileChange::discard() {
    if (!copyName_.isEmpty())
        ::unlinkat(folder_, copyName_.constData(), 0);
    copyName_.clear();
    if (copy_ >= 0)
        ::close(copy_);
    copy_ = -1;
}

bool SafeFileChange::commit() {
    if (!isOpen())
        return false;
    const bool isDone = put();
    error_ = isDone ? 0 : errno;
    discard();
    return isDone;
}

bool SafeFileChange::put() {
    const Descriptor file(::openat(folder_, name_.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat now {};
    if (file.get() < 0 || ::fstat(file.get(), &now) != 0)
        return false;
    if (!isSame(before_, now)) {
        errno = EBUSY;
        return false;
    }
    if (haveSameContent(file.get(), copy_))
        return true;
    if (copyName_.isEmpty())
        return putInPlace();
    const timespec times[2] = {before_.st_atim, {0, UTIME_OMIT}};
    if (::futimens(copy_, times) != 0 || ::fsync(copy_) != 0)
        return false;
    // In a folder that lets nobody replace the files of others this one can only be written in place.
    if (::renameat(folder_, copyName_.constData(), folder_, name_.constData()) != 0)
        return isRightsError(errno) && putInPlace();
    copyName_.clear();
    // The new file is in place for every program; after a power cut the old one may be back, whole.
    static_cast<void>(::fsync(folder_));
    return true;
}

bool SafeFileChange::putInPlace() {
    const Descriptor file(::openat(folder_, name_.constData(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    return file.get() >= 0 && writeInPlace(file.get(), path_, copy_);
}

void SafeFileChange::removeLeftovers() const {
    const int again = ::openat(folder_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (again < 0)
        return;
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(::fdopendir(again), ::closedir);
    if (!listing) {
        ::close(again);
        return;
    }
    const QByteArray prefix = copyPrefix(), suffix = copySuffix();
    while (const dirent *entry = ::readdir(listing.get())) {
        const QByteArray name =
            QByteArray::fromRawData(entry->d_name, static_cast<qsizetype>(std::strlen(entry->d_name)));
        if (!name.startsWith(prefix) || !name.endsWith(suffix))
            continue;
        const Descriptor leftover(::openat(folder_, entry->d_name, O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (leftover.get() >= 0 && ::flock(leftover.get(), LOCK_EX | LOCK_NB) == 0)
            ::unlinkat(folder_, entry->d_name, 0);
    }
}

QByteArray SafeFileChange::copyPrefix() const { return QByteArrayLiteral(".corvidia-"); }

// A long name is cut so that the copy's stays within the 255 bytes of a file name.
QByteArray SafeFileChange::copySuffix() const { return '-' + name_.right(200); }
