// A full disk, for a while.
#pragma once

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
    NoRoomOnDisk(const NoRoomOnDisk &) = delete;
    NoRoomOnDisk &operator=(const NoRoomOnDisk &) = delete;

private:
    void (*handler_)(int);
    rlimit before_{};
};
