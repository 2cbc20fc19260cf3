// Keeps the fingerprints in step with the library: makes those of identified tracks, drops those of tracks that are
// gone, and saves what players said. It looks at the library itself, so that nothing is missed and nothing is stale.
//
// Threads: as each member says; the work is done on "Fingerprints", at the lowest priority.
#pragma once

#include "identify/local/FingerprintLibrary.h"
#include "identify/local/HeardNames.h"
#include "identify/local/LibraryRows.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <stop_token>
#include <thread>

class LibraryFiller {
public:
    using Fingerprinter =
        std::function<std::optional<std::vector<uint32_t>>(const QString &path, const std::stop_token &stop)>;
    struct Pace {
        std::chrono::milliseconds settle{5000}; ///< behind a change, in which more may come
        int rest = 3;                           ///< so many times as long as it worked
        std::chrono::milliseconds end{3000};    ///< so long stop() waits for the worker
    };

    /// What is referred to outlives this.
    LibraryFiller(LibraryRows library, FingerprintLibrary &fingerprints, FingerprintFile &file, HeardNames &names);
    LibraryFiller(LibraryRows library, FingerprintLibrary &fingerprints, FingerprintFile &file, HeardNames &names,
                  Fingerprinter fingerprintOf, Pace pace);
    ~LibraryFiller();

    /// Main thread.
    void start();
    /// Main thread. What was done so far stays, and the last names are saved. A worker whose file does not answer is
    /// left to itself.
    void stop();
    /// Any thread; never waits.
    void libraryDidChange();

private:
    void work(const std::stop_token &stop);
    bool rest(std::chrono::steady_clock::duration time, const std::stop_token &stop);
    void fill(const std::stop_token &stop);
    void dropStale(const QList<LibraryRow> &rows);

    const LibraryRows library_;
    FingerprintLibrary &fingerprints_;
    FingerprintFile &file_;
    HeardNames &names_;
    const Fingerprinter fingerprintOf_;
    const Pace pace_;
    std::set<QString> withoutSound_; // worker; files that gave no fingerprint in this run

    std::mutex lock_; // guards what follows
    std::condition_variable_any change_;
    bool hasChanged_ = true;
    bool isWorking_ = false;
    std::jthread worker_;
};
