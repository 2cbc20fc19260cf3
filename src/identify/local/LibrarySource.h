// The recogniser's source that goes by the library: the same sound again is the same song.
//
// Threads: as RecogniserSource says.
#pragma once

#include "identify/local/FingerprintLibrary.h"
#include "identify/local/LibraryRows.h"

class LibrarySource final : public RecogniserSource {
public:
    /// `fingerprints` outlives this.
    LibrarySource(FingerprintLibrary &fingerprints, LibraryRows library)
        : fingerprints_(fingerprints), library_(std::move(library)) {}

    QString key() const override;
    bool isUsable() const override;
    /// The tags that the best match has now. Matches of different names are no answer.
    RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &stop) override;

private:
    FingerprintLibrary &fingerprints_;
    const LibraryRows library_;
};
