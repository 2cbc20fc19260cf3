// A task that is worked on, and the thread that does it.
//
// Threads: as each field says.
#pragma once

#include "identify/recognition/RecogniserSource.h"

#include <atomic>
#include <stop_token>

struct GetID3Worker {
    /// Stop requested: what the thread delivers from now on is dropped.
    bool isCancelled() const { return cancel.stop_requested(); }

    std::stop_source cancel;                  // any thread
    RecognitionTask task;                     // the worker's own until its thread asks for something
    std::atomic<bool> waitsForTags = false;   // whoever answers first clears it
    std::atomic<bool> waitsForCovers = false; // whoever answers first clears it
    // Main thread
    int overTime = 0;      ///< the number of its time-out
    bool isClosed = false; ///< the last word on the task was said
};
