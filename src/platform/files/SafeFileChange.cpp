#include "platform/files/SafeFileChange.h"

#include <QFile>
#include <QFileInfo>
#include <array>
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <memory>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {
class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return descriptor_; }

private:
    int descriptor_;
};

bool copyByHand(int source, int target) {
    std::array<char, 1 << 16> bytes;
    for (;;) {
        const ssize_t got = ::read(source, bytes.data(), bytes.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t written = ::write(target, bytes.data() + done, static_cast<size_t>(got - done));
            if (written < 0 && errno != EINTR)
                return false;
            done += std::max<ssize_t>(written, 0);
        }
    }
}

// Shares the blocks where the file system can, else lets the kernel copy, else copies.
bool copyContent(int source, int target) {
    if (::ioctl(target, FICLONE, source) == 0)
        return true;
    for (;;) {
        const ssize_t copied =
            ::copy_file_range(source, /*pinoff=*/nullptr, target, /*poutoff=*/nullptr, size_t{1} << 30, 0);
        if (copied < 0 && errno == EINTR)
            continue;
        if (copied > 0)
            continue;
        // At the end, and at once on file systems that don't know the call, what is left is read; usually nothing.
        return copyByHand(source, target);
    }
}

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
} // namespace

SafeFileChange::SafeFileChange(const QString &path) {
    const QString target = QFileInfo(path).canonicalFilePath();
    if (target.isEmpty())
        return;
    const QFileInfo info(target);
    name_ = QFile::encodeName(info.fileName());
    folder_ = ::open(QFile::encodeName(info.path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0 || ::faccessat(folder_, name_.constData(), W_OK, 0) != 0)
        return;
    removeLeftovers();
    if (!openCopy())
        discard();
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
    if (source.get() < 0 || ::fstat(source.get(), &before_) != 0 || !S_ISREG(before_.st_mode))
        return false;

    static std::atomic<unsigned> number = 0;
    const QByteArray name =
        copyPrefix() + QByteArray::number(::getpid()) + '-' + QByteArray::number(number++) + copySuffix();
    copy_ = ::openat(folder_, name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (copy_ < 0)
        return false;
    copyName_ = name;
    struct stat own {};
    // A sweep may have taken the file between its making and its lock; it has no name then.
    if (::flock(copy_, LOCK_EX | LOCK_NB) == 0 && (::fstat(copy_, &own) != 0 || own.st_nlink == 0))
        return false;
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
    struct stat now {};
    const timespec times[2] = {before_.st_atim, {0, UTIME_OMIT}};
    const bool isDone = isOpen() && ::futimens(copy_, times) == 0 && ::fsync(copy_) == 0 &&
                        ::fstatat(folder_, name_.constData(), &now, 0) == 0 && isSame(before_, now) &&
                        ::renameat(folder_, copyName_.constData(), folder_, name_.constData()) == 0;
    if (isDone) {
        copyName_.clear();
        // The new file is in place for every program; after a power cut the old one may be back, whole.
        static_cast<void>(::fsync(folder_));
    }
    discard();
    return isDone;
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
