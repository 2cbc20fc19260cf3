// SIGINT, SIGTERM and SIGHUP as an ordinary event.
//
// Threads: main.
#pragma once

#include <functional>

/// From now on the first such signal calls `terminate` on the main thread; a second one ends the process at once, as
/// it would have without us. To be called once, before other threads are started, which inherit nothing to mend then.
void onTerminationSignal(std::function<void()> terminate);
