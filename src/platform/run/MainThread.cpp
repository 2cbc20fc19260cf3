#include "platform/run/MainThread.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <sys/eventfd.h>
#include <unistd.h>

void performOnMainThread(std::function<void()> work) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

void performAfterDelay(double seconds, QObject *owner, std::function<void()> work) {
    QTimer::singleShot(static_cast<int>(seconds * 1000), owner, std::move(work));
}

MainThreadWakeup::MainThreadWakeup(std::function<void()> work)
    : work_(std::move(work)), eventDescriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (eventDescriptor_ < 0)
        qFatal("no file descriptor is left to wake the main thread with");
    auto *notifier = new QSocketNotifier(eventDescriptor_, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] { wake(); });
}

MainThreadWakeup::~MainThreadWakeup() { close(eventDescriptor_); }

void MainThreadWakeup::signal() noexcept {
    // acq_rel: what was handed over before the signal is seen by the run that clears it
    if (signalled_.exchange(true, std::memory_order_acq_rel))
        return;
    const uint64_t one = 1;
    // The counter cannot overflow, so the write cannot fail.
    [[maybe_unused]] const ssize_t written = write(eventDescriptor_, &one, sizeof one);
}

void MainThreadWakeup::wake() {
    uint64_t count = 0;
    // An empty counter means that an earlier run has taken the signal already.
    [[maybe_unused]] const ssize_t taken = read(eventDescriptor_, &count, sizeof count);
    signalled_.exchange(false, std::memory_order_acq_rel);
    work_();
}
