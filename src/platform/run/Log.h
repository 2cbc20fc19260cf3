// The program's log: plain lines, no levels.
//
// Threads: any, but the audio thread, which hands its lines to the main thread.
#pragma once

#include <QString>
#include <functional>

/// Writes `line` to the system log (standard error under a service manager ends there).
void logLine(const QString &line);

/// Sends further lines to `sink` in place of standard error; an empty sink restores it. For tests.
void setLogSink(std::function<void(const QString &)> sink);
