#include "identify/queue/GetImageController.h"

#include <mutex>

namespace {
std::mutex mutex;
std::shared_ptr<GetImageController> theManager; // under mutex
} // namespace

std::shared_ptr<GetImageController> GetImageController::defaultManager() {
    const std::lock_guard lock(mutex);
    return theManager;
}

void GetImageController::setDefaultManager(std::shared_ptr<GetImageController> manager) {
    const std::lock_guard lock(mutex);
    theManager = std::move(manager);
}
