// A full disk, for a while.
#pragma once

#include <QtGlobal>
#include <csignal>
#include <sys/resource.h>

/// While one lives, no file takes more than so many bytes.
class NoRoomOnDisk {
public:
    explicit NoRoomOnDisk(rlim_t bytes = 0) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit none{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoRoomOnDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    Q_DISABLE_COPY(NoRoomOnDisk)

private:
    void (*handler_)(int);
    rlimit before_{};
};

/// What `work` answers on such a disk.
template <class Work>
auto withoutRoom(const Work &work, rlim_t bytes = 0) {
    const NoRoomOnDisk noRoom(bytes);
    return work();
}
