#include "platform/run/TerminationSignals.h"

#include "platform/run/MainThread.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {
constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
std::unique_ptr<MainThreadWakeup> wakeup;

// MainThreadWakeup::signal() is an atomic exchange and a write to an eventfd: both may be done in a handler.
void handleSignal(int) { wakeup->signal(); }
} // namespace

void onTerminationSignal(std::function<void()> terminate) {
    wakeup = std::make_unique<MainThreadWakeup>(std::move(terminate));
    struct sigaction action {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : kSignals)
        sigaction(signal, &action, nullptr);
}

void endProcessWithin(std::chrono::milliseconds patience, int status) {
    std::thread([=] {
        std::this_thread::sleep_for(patience);
        std::_Exit(status);
    }).detach();
}
