// Calls a function on the main thread when another thread asks for it, without allocating there.
//
// Threads: wake() any, the audio thread included; everything else the main thread.
#pragma once

#include <QSocketNotifier>
#include <functional>

/// Several wakes before the main thread gets to it are one call. Needs the application object.
class MainThreadWake {
public:
    explicit MainThreadWake(std::function<void()> woken);
    ~MainThreadWake();
    MainThreadWake(const MainThreadWake &) = delete;
    MainThreadWake &operator=(const MainThreadWake &) = delete;

    void wake() const noexcept;

private:
    const int descriptor_;
    QSocketNotifier notifier_;
};
