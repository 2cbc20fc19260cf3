#include "platform/MainThreadWake.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

MainThreadWake::MainThreadWake(std::function<void()> woken)
    : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), notifier_(descriptor_, QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this, woken = std::move(woken)] {
        uint64_t count = 0;
        // The count is of no interest, and an empty one only means that the wake was answered already.
        [[maybe_unused]] const ssize_t got = read(descriptor_, &count, sizeof count);
        woken();
    });
}

MainThreadWake::~MainThreadWake() {
    notifier_.setEnabled(false);
    close(descriptor_);
}

void MainThreadWake::wake() const noexcept {
    const uint64_t one = 1;
    // It fails only when the counter is full, and then the main thread is being woken already.
    [[maybe_unused]] const ssize_t put = write(descriptor_, &one, sizeof one);
}
