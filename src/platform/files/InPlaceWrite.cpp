#include "platform/files/InPlaceWrite.h"

#include "platform/files/FileCopy.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"

#include <QDir>
#include <QFile>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {
// Behind the old bytes and the file's path stands what finds them. Read only by the machine that wrote it.
struct Trailer {
    uint64_t size = 0; // of the old bytes
    uint64_t pathSize = 0;
    uint64_t inode = 0; // of the file; its device may be numbered anew at each mount
    char mark[8] = {'C', 'O', 'R', 'V', 'K', 'E', 'P', 'T'};
};

QString keptFolder() { return applicationSupportFolder() + "/Unfinished changes"; }
constexpr const char *kWhole = ".kept";
constexpr const char *kInTheMaking = ".part";

// Empty if the folder can't be made.
QByteArray newKeptName() {
    static std::atomic<unsigned> number = 0;
    const QString folder = keptFolder();
    if (!QDir().mkpath(folder))
        return {};
    ::chmod(QFile::encodeName(folder).constData(), S_IRWXU); // whose rights it lacks, it lacks for what follows too
    return QFile::encodeName(folder) + '/' + QByteArray::number(::getpid()) + '-' + QByteArray::number(number++);
}

int create(const QByteArray &name) {
    return ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

void syncFolder() {
    const Descriptor folder(::open(QFile::encodeName(keptFolder()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    static_cast<void>(::fsync(folder.get())); // without it only a power cut at this instant costs the old bytes
}

// The old bytes of one file, on the disk.
class KeptBytes {
public:
    KeptBytes(int target, const QByteArray &path) : name_(newKeptName()), file_(create(name_ + kInTheMaking)) {
        struct stat info {};
        if (file_.get() < 0)
            return;
        isKept_ = ::flock(file_.get(), LOCK_EX | LOCK_NB) == 0 && ::fstat(target, &info) == 0 &&
                  ::lseek(target, 0, SEEK_SET) == 0 && copyContent(target, file_.get());
        Trailer trailer;
        trailer.size = static_cast<uint64_t>(info.st_size);
        trailer.pathSize = static_cast<uint64_t>(path.size());
        trailer.inode = info.st_ino;
        const QByteArray end = path + QByteArray(reinterpret_cast<const char *>(&trailer), sizeof trailer);
        isKept_ = isKept_ &&
                  ::pwrite(file_.get(), end.constData(), static_cast<size_t>(end.size()), info.st_size) == end.size() &&
                  ::fsync(file_.get()) == 0 &&
                  ::rename((name_ + kInTheMaking).constData(), (name_ + kWhole).constData()) == 0;
        size_ = info.st_size;
        if (isKept_)
            syncFolder();
        else
            removeKeepingErrno(kInTheMaking);
    }
    bool isKept() const { return isKept_; }
    bool putBack(int target) const { return overwrite(file_.get(), target, size_); }
    void drop() const { removeKeepingErrno(kWhole); }

private:
    void removeKeepingErrno(const char *ending) const {
        const int error = errno;
        ::unlink((name_ + ending).constData());
        errno = error;
    }

    QByteArray name_;
    Descriptor file_;
    off_t size_ = 0;
    bool isKept_ = false;
};

// Whether the kept bytes are of no more use.
bool mend(int kept) {
    Trailer trailer;
    const off_t end = ::lseek(kept, 0, SEEK_END) - static_cast<off_t>(sizeof trailer);
    if (end < 0 || ::pread(kept, &trailer, sizeof trailer, end) != sizeof trailer ||
        std::memcmp(trailer.mark, Trailer().mark, sizeof trailer.mark) != 0 ||
        trailer.size + trailer.pathSize != static_cast<uint64_t>(end) || trailer.pathSize > PATH_MAX)
        return true;
    QByteArray path(static_cast<qsizetype>(trailer.pathSize), '\0');
    if (::pread(kept, path.data(), static_cast<size_t>(path.size()), static_cast<off_t>(trailer.size)) != path.size())
        return false;
    const Descriptor target(::open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat info {};
    if (target.get() < 0 || ::fstat(target.get(), &info) != 0)
        return false;
    // Whoever put another file there knows better.
    if (info.st_ino != trailer.inode || !S_ISREG(info.st_mode))
        return true;
    if (!overwrite(kept, target.get(), static_cast<off_t>(trailer.size)))
        return false;
    logLine(QStringLiteral("put back what a change cut short had left half written: %1").arg(QFile::decodeName(path)));
    return true;
}
} // namespace

int openNamelessFile() {
    const QByteArray name = newKeptName() + kInTheMaking;
    const int file = create(name);
    if (file >= 0)
        ::unlink(name.constData());
    return file;
}

bool writeInPlace(int target, const QByteArray &path, int source) {
    struct stat info {};
    const KeptBytes kept(target, path);
    if (!kept.isKept() || ::fstat(source, &info) != 0)
        return false;
    if (overwrite(source, target, info.st_size)) {
        kept.drop();
        return true;
    }
    const int error = errno;
    if (kept.putBack(target))
        kept.drop();
    errno = error;
    return false;
}

void mendInterruptedWrites() {
    const QDir folder(keptFolder());
    for (const QString &name : folder.entryList({QString("*") + kWhole, QString("*") + kInTheMaking}, QDir::Files)) {
        const QByteArray path = QFile::encodeName(folder.filePath(name));
        const Descriptor kept(::open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        // A lock, which ends with its process, tells what is still needed by somebody else.
        if (kept.get() >= 0 && ::flock(kept.get(), LOCK_EX | LOCK_NB) == 0 &&
            (name.endsWith(kInTheMaking) || mend(kept.get())))
            ::unlink(path.constData());
    }
}
