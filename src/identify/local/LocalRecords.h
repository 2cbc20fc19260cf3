// What this computer knows of its tracks by itself, as the program has it: one file, what fills it, and the sources
// that answer out of it.
//
// Threads: main; the members as their classes say.
#pragma once

#include "identify/local/FingerprintFile.h"
#include "identify/local/FingerprintLibrary.h"
#include "identify/local/HeardNames.h"
#include "identify/local/LibraryFiller.h"

#include <memory>

class LocalRecords {
public:
    /// Lives until the process ends, as the workers may that ask its sources.
    static LocalRecords &defaultRecords();

    HeardNames &names() { return names_; }
    LibraryFiller &filler() { return filler_; }
    std::shared_ptr<RecogniserSource> playerSource();
    std::shared_ptr<RecogniserSource> librarySource();

private:
    LocalRecords() = default;

    FingerprintFile file_;
    FingerprintLibrary fingerprints_{file_};
    HeardNames names_{file_, LibraryRows()};
    LibraryFiller filler_{LibraryRows(), fingerprints_, file_, names_};
};
