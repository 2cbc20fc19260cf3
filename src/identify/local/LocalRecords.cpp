#include "identify/local/LocalRecords.h"

#include "identify/local/LibrarySource.h"
#include "identify/local/PlayerSource.h"

LocalRecords &LocalRecords::defaultRecords() {
    static auto *const records = new LocalRecords;
    return *records;
}

std::shared_ptr<RecogniserSource> LocalRecords::playerSource() { return std::make_shared<PlayerSource>(names_); }

std::shared_ptr<RecogniserSource> LocalRecords::librarySource() {
    return std::make_shared<LibrarySource>(fingerprints_, LibraryRows());
}
