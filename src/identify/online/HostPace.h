// How often a host may be asked: never oftener than its services allow, and more seldom while it is in trouble.
//
// Threads: any.
#pragma once

#include <QHash>
#include <QString>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <stop_token>

/// As much of `time` as a Semaphore waits at once, in milliseconds and at least one.
inline int semaphoreTime(std::chrono::nanoseconds time) {
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time).count();
    return static_cast<int>(std::clamp<int64_t>(milliseconds, 1, 900));
}

/// The time by which requests are paced.
class PaceClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    PaceClock() = default;
    virtual ~PaceClock() = default;
    PaceClock(const PaceClock &) = delete;
    PaceClock &operator=(const PaceClock &) = delete;

    virtual TimePoint now() const;
    /// False as soon as a stop is requested.
    virtual bool waitUntil(TimePoint time, const std::stop_token &stop);
};

class HostPace {
public:
    explicit HostPace(PaceClock &clock) : clock_(clock) {}

    PaceClock::TimePoint now() const { return clock_.now(); }
    /// Blocks until the host's turn has come, `spacing` after the last one or later. False after a stop, and at once
    /// where the turn comes later than `latest`.
    bool waitForTurn(const QString &host, std::chrono::milliseconds spacing, const std::stop_token &stop,
                     PaceClock::TimePoint latest = PaceClock::TimePoint::max());
    /// The host answered that it is asked too much: the spacing goes to a second, then doubles, up to 32 seconds.
    void wasRefused(const QString &host);
    /// The host answered: what an earlier refusal added is halved, and goes below a second.
    void wasAnswered(const QString &host);

private:
    struct Host {
        PaceClock::TimePoint next; // turn
        std::chrono::milliseconds delay{0};
    };

    PaceClock &clock_;
    std::mutex mutex_;
    QHash<QString, Host> hosts_; // under mutex_
};
