// Whose sound the default output plays.
//
// Threads: any; waits for the sound server for up to two seconds.
#pragma once

#include <QSet>
#include <optional>
#include <sys/types.h>

/// The processes that are heard, and all those that started them: a browser's tabs play for the browser. Nothing when
/// the sound server does not answer.
std::optional<QSet<pid_t>> soundingProcesses();
