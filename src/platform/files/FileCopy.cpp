#include "platform/files/FileCopy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace {
using Bytes = std::array<char, 1 << 16>;

ssize_t readAt(int descriptor, Bytes &bytes, off_t position) {
    for (;;) {
        const ssize_t got = ::pread(descriptor, bytes.data(), bytes.size(), position);
        if (got >= 0 || errno != EINTR)
            return got;
    }
}

bool writeAt(int descriptor, const char *bytes, ssize_t size, off_t position) {
    for (ssize_t done = 0; done < size;) {
        const ssize_t written = ::pwrite(descriptor, bytes + done, static_cast<size_t>(size - done), position + done);
        if (written < 0 && errno != EINTR)
            return false;
        done += std::max<ssize_t>(written, 0);
    }
    return true;
}

// From where both stand.
bool copyByHand(int source, int target) {
    Bytes bytes;
    off_t from = ::lseek(source, 0, SEEK_CUR), to = ::lseek(target, 0, SEEK_CUR);
    for (;;) {
        const ssize_t got = readAt(source, bytes, from);
        if (got <= 0)
            return got == 0 && ::lseek(target, to, SEEK_SET) >= 0;
        if (!writeAt(target, bytes.data(), got, to))
            return false;
        from += got;
        to += got;
    }
}
} // namespace

bool copyContent(int source, int target) {
    if (::ioctl(target, FICLONE, source) == 0)
        return ::lseek(target, 0, SEEK_END) >= 0;
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

bool moveFile(const char *from, const char *to) {
    if (::rename(from, to) == 0)
        return true;
    if (errno != EXDEV)
        return false;
    const Descriptor source(::open(from, O_RDONLY | O_CLOEXEC));
    const Descriptor target(source.get() < 0 ? -1 : ::open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (target.get() < 0)
        return false;
    if (copyContent(source.get(), target.get()) && ::fsync(target.get()) == 0) {
        static_cast<void>(::unlink(from)); // a second copy does no harm
        return true;
    }
    const int error = errno;
    ::unlink(to);
    errno = error;
    return false;
}

bool overwrite(int source, int target, off_t size) {
    Bytes bytes;
    for (off_t position = 0; position < size;) {
        const ssize_t got = std::min<off_t>(readAt(source, bytes, position), size - position);
        if (got == 0)
            errno = EIO; // the source has become shorter
        if (got <= 0 || !writeAt(target, bytes.data(), got, position))
            return false;
        position += got;
    }
    return ::ftruncate(target, size) == 0 && ::fsync(target) == 0;
}

bool haveSameContent(int a, int b) {
    struct stat infoA {
    }, infoB{};
    if (::fstat(a, &infoA) != 0 || ::fstat(b, &infoB) != 0 || infoA.st_size != infoB.st_size)
        return false;
    Bytes bytesA, bytesB;
    for (off_t position = 0; position < infoA.st_size;) {
        const ssize_t got = readAt(a, bytesA, position);
        if (got <= 0 || readAt(b, bytesB, position) != got ||
            std::memcmp(bytesA.data(), bytesB.data(), static_cast<size_t>(got)) != 0)
            return false;
        position += got;
    }
    return true;
}
