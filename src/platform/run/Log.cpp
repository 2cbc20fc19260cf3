#include "platform/run/Log.h"

#include <cstdio>
#include <mutex>

namespace {
std::mutex sinkLock;
std::function<void(const QString &)> currentSink;
} // namespace

void logLine(const QString &line) {
    const std::lock_guard guard(sinkLock);
    if (currentSink)
        currentSink(line);
    else
        std::fprintf(stderr, "Corvidia: %s\n", qUtf8Printable(line));
}

void setLogSink(std::function<void(const QString &)> sink) {
    const std::lock_guard guard(sinkLock);
    currentSink = std::move(sink);
}
