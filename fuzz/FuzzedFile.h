// The fuzzed bytes as a file, for what takes a path. It stands in memory and is gone with the process.
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

class FuzzedFile {
public:
    /// A copy at the same path each time; what a write put in its place goes.
    FuzzedFile(const uint8_t *data, size_t size) : path_(QStringLiteral("/dev/shm/corvidia-fuzz-%1").arg(getpid())) {
        const QByteArray name = path_.toUtf8();
        const int file = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file < 0 || ::write(file, data, size) != static_cast<ssize_t>(size))
            std::abort();
        ::close(file);
    }
    ~FuzzedFile() { ::unlink(path_.toUtf8().constData()); }
    FuzzedFile(const FuzzedFile &) = delete;
    FuzzedFile &operator=(const FuzzedFile &) = delete;

    const QString &path() const { return path_; }

private:
    QString path_;
};
