#include "identify/queue/ID3TagControl.h"

#include <mutex>

namespace {
std::mutex mutex;
std::shared_ptr<ID3TagControl> theManager; // under mutex
} // namespace

std::shared_ptr<ID3TagControl> ID3TagControl::defaultManager() {
    std::shared_ptr<ID3TagControl> manager;
    {
        const std::lock_guard lock(mutex);
        manager = theManager;
    }
    return manager && manager->isUsable() ? manager : nullptr;
}

void ID3TagControl::setDefaultManager(std::shared_ptr<ID3TagControl> manager) {
    const std::lock_guard lock(mutex);
    theManager = std::move(manager);
}
