// A clock that is set forward by whoever waits for it.
#pragma once

#include "identify/online/HostPace.h"

#include <mutex>

class MadeClock : public PaceClock {
public:
    TimePoint now() const override {
        const std::lock_guard lock(mutex_);
        return now_;
    }
    bool waitUntil(TimePoint time, const std::stop_token &stop) override {
        const std::lock_guard lock(mutex_);
        now_ = std::max(now_, time);
        return !stop.stop_requested();
    }
    double seconds() const { return std::chrono::duration<double>(now().time_since_epoch()).count(); }

private:
    mutable std::mutex mutex_;
    TimePoint now_; // under mutex_
};
