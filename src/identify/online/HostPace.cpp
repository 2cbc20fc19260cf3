#include "identify/online/HostPace.h"

#include "platform/run/Semaphore.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace {
constexpr std::chrono::milliseconds kShortestDelay = 1s;
constexpr std::chrono::milliseconds kLongestDelay = 32s;
} // namespace

PaceClock::TimePoint PaceClock::now() const { return std::chrono::steady_clock::now(); }

bool PaceClock::waitUntil(TimePoint time, const std::stop_token &stop) {
    Semaphore stopped;
    const std::stop_callback wake(stop, [&stopped] { stopped.post(); });
    while (!stop.stop_requested() && now() < time)
        stopped.waitAtMost(semaphoreTime(time - now()));
    return !stop.stop_requested();
}

bool HostPace::waitForTurn(const QString &host, std::chrono::milliseconds spacing, const std::stop_token &stop,
                           PaceClock::TimePoint latest) {
    for (;;) {
        PaceClock::TimePoint next;
        {
            const std::lock_guard lock(mutex_);
            Host &known = hosts_[host];
            if (stop.stop_requested() || known.next > latest)
                return false;
            if (const auto now = clock_.now(); now >= known.next) {
                known.next = now + std::max(spacing, known.delay);
                return true;
            }
            next = known.next;
        }
        // Somebody else may be there first, or the host may be in trouble by then.
        if (!clock_.waitUntil(next, stop))
            return false;
    }
}

void HostPace::wasRefused(const QString &host) {
    const std::lock_guard lock(mutex_);
    Host &known = hosts_[host];
    known.delay = std::clamp(known.delay * 2, kShortestDelay, kLongestDelay);
    known.next = std::max(known.next, clock_.now() + known.delay);
}

void HostPace::wasAnswered(const QString &host) {
    const std::lock_guard lock(mutex_);
    Host &known = hosts_[host];
    known.delay = known.delay > kShortestDelay ? known.delay / 2 : 0ms;
}
