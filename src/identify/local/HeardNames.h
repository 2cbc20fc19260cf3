// The names that players gave to recordings, in this run and before.
//
// Threads: any.
#pragma once

#include "identify/local/FingerprintFile.h"
#include "identify/local/LibraryRows.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>

class HeardNames {
public:
    using Clock = std::chrono::steady_clock;

    /// `patience`: how long behind the end of a recording its name is waited for. `file` outlives this.
    HeardNames(FingerprintFile &file, LibraryRows library,
               std::chrono::milliseconds patience = std::chrono::seconds(20));

    /// The recording has just ended; what was heard of it will be told.
    void expect(int32_t songID);
    /// What was heard of it, or nothing.
    void keep(int32_t songID, const std::optional<Recognition> &name);
    /// Waits for a name that is expected. Nothing when there is none, or after a stop.
    std::optional<Recognition> nameOf(int32_t songID, const std::stop_token &stop);

    /// Called when there is something to save; by any thread.
    void setHasNews(std::function<void()> hasNews);
    /// Puts what was kept into the file. Blocks.
    void save();

private:
    std::optional<Recognition> storedName(int32_t songID);

    FingerprintFile &file_;
    const LibraryRows library_;
    const std::chrono::milliseconds patience_;

    std::mutex lock_; // guards what follows
    std::condition_variable_any kept_;
    std::map<int32_t, Clock::time_point> expected_;       // with the end of the wait
    std::map<int32_t, std::optional<Recognition>> names_; // of this run
    std::set<int32_t> unsaved_;
    std::function<void()> hasNews_ = [] {};
};
