// SIGINT, SIGTERM and SIGHUP as an ordinary event, and an end that nothing holds up.
//
// Threads: main.
#pragma once

#include <chrono>
#include <functional>

/// From now on the first such signal calls `terminate` on the main thread; a second one ends the process at once, as
/// it would have without us. To be called once, before other threads are started, which inherit nothing to mend then.
void onTerminationSignal(std::function<void()> terminate);

/// When all is saved: the process ends with `status` after so much time at the latest. What Qt waits for to its end, a
/// name that a resolver looks up for one, can take minutes.
void endProcessWithin(std::chrono::milliseconds patience, int status);
