// Which tracks of the library sound the same.
//
// A fingerprint is compared with those that share some of its numbers, laid beside each other where these fall
// together. The numbers are found in an index in memory (some kilobytes for a track, made when it is first asked for);
// the fingerprints themselves stay in the file.
//
// Threads: any.
#pragma once

#include "identify/local/FingerprintFile.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

/// So much of each track is compared, from its beginning.
inline constexpr std::chrono::seconds kComparedTime{60};

class FingerprintLibrary {
public:
    struct Match {
        int32_t songID = 0;
        double bitErrors = 0; ///< share of the bits that differ
    };

    /// Two recordings are the same when no more of the bits differ over the time that both last. Encodings of one sound
    /// stay below 0.1; of 200 made songs the two most alike, laid where they fit best, differ in 0.34 of the bits.
    static constexpr double kMostBitErrors = 0.25;
    /// Over less than twelve seconds nothing is said.
    static constexpr size_t kLeastOverlap = 97;
    /// A tone or a hum gives one number again and again, and is no evidence.
    static constexpr size_t kLeastDistinct = 24;
    /// As many as kComparedTime has.
    static constexpr size_t kMostItems = 485;

    /// `file` outlives this.
    explicit FingerprintLibrary(FingerprintFile &file) : file_(file) {}

    bool add(int32_t songID, const QByteArray &addDate, std::span<const uint32_t> items);
    /// All that the file knows of these tracks.
    void forget(const QList<int32_t> &songIDs);
    QHash<int32_t, QByteArray> tracks() { return file_.fingerprintedTracks(); }

    /// The tracks of the same sound, the best first.
    std::vector<Match> matches(std::span<const uint32_t> items);

private:
    /// A number and where it is in a fingerprint: 32 bits, then 24 of the track's place in songIDs_, then 8 of the
    /// position divided by kStep. One comparison sorts it.
    using Posting = uint64_t;
    struct Candidate {
        uint32_t place = 0; // in songIDs_
        int offset = 0;     // of the asked one's beginning in the track's fingerprint
        int votes = 0;
    };

    void dropFromIndex(const QList<int32_t> &songIDs);
    void loadIndex();
    void appendPostings(int32_t songID, std::span<const uint32_t> items);
    std::vector<Candidate> candidates(std::span<const uint32_t> items) const;
    static std::optional<double> bitErrorsAt(std::span<const uint32_t> asked, std::span<const uint32_t> known,
                                             int offset);

    FingerprintFile &file_;
    std::mutex lock_; // guards what follows
    bool isLoaded_ = false;
    std::vector<Posting> postings_; // sorted
    std::vector<int32_t> songIDs_;  // by place; of a track that is gone, 0
};
