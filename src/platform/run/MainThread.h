// Work handed to the main thread. It runs in nested event loops (modal dialogs) too.
//
// Threads: any may hand work over; the work itself runs on the main thread.
#pragma once

#include <QObject>
#include <atomic>
#include <functional>

/// Runs `work` on the main thread in its next turn, without waiting for it. Order of calls is kept.
void performOnMainThread(std::function<void()> work);

/// Runs `work` on the main thread `seconds` from now, unless `owner` has gone by then. Main thread only.
void performAfterDelay(double seconds, QObject *owner, std::function<void()> work);

/// Wakes the main thread from a thread that may neither allocate nor wait, as an audio thread.
class MainThreadWakeup : public QObject {
public:
    /// `work` runs on the main thread once or more after each signal(); several signals may share one run.
    explicit MainThreadWakeup(std::function<void()> work);
    ~MainThreadWakeup() override;

    /// Any thread. Costs a system call only when the main thread has not been woken yet.
    void signal() noexcept;

private:
    void wake();

    std::function<void()> work_;
    int eventDescriptor_;
    std::atomic<bool> signalled_ = false; // set by signal(), cleared by the main thread before it looks for work
};
