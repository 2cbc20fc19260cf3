// A counting semaphore whose post() is fit for a thread that may neither wait nor allocate.
#pragma once

#include <cerrno>
#include <ctime>
#include <semaphore.h>

class Semaphore {
public:
    Semaphore() { sem_init(&semaphore_, /*pshared=*/0, /*value=*/0); }
    ~Semaphore() { sem_destroy(&semaphore_); }
    Semaphore(const Semaphore &) = delete;
    Semaphore &operator=(const Semaphore &) = delete;

    /// Any thread. A system call only when somebody waits.
    void post() noexcept { sem_post(&semaphore_); }

    /// Waits until there has been a post(), and takes all posts so far.
    void wait() noexcept {
        while (sem_wait(&semaphore_) != 0 && errno == EINTR) {
        }
        takeAll();
    }

    /// As wait(), but at most until `milliseconds` (below 1000) are over.
    void waitAtMost(int milliseconds) noexcept {
        timespec end{};
        clock_gettime(CLOCK_MONOTONIC, &end);
        end.tv_nsec += milliseconds * 1'000'000L;
        if (end.tv_nsec >= 1'000'000'000L) {
            end.tv_nsec -= 1'000'000'000L;
            ++end.tv_sec;
        }
        while (sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &end) != 0 && errno == EINTR) {
        }
        takeAll();
    }

private:
    void takeAll() noexcept {
        while (sem_trywait(&semaphore_) == 0) {
        }
    }

    sem_t semaphore_;
};
