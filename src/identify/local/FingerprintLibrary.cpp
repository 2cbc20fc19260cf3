#include "identify/local/FingerprintLibrary.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <set>

namespace {

// Every fourth number of a known fingerprint is in the index. Of the same sound enough of them come again, unchanged or
// with one bit turned, even where an eighth of all bits is turned.
constexpr size_t kStep = 4;
constexpr size_t kMostTracks = 1U << 24;
// A number that so many tracks share, silence for one, says nothing.
constexpr ptrdiff_t kMostPlaces = 200;
// Numbers that fall together, at nearly the same distance, before two fingerprints are compared at all.
constexpr int kLeastVotes = 2;
constexpr int kSameOffset = 3;
constexpr size_t kMostCandidates = 16;

constexpr uint64_t postingOf(uint32_t number, size_t place, size_t position) {
    return uint64_t{number} << 32 | uint64_t{place} << 8 | position / kStep;
}

std::span<const uint32_t> beginningOf(std::span<const uint32_t> items) {
    return items.first(std::min(items.size(), FingerprintLibrary::kMostItems));
}

} // namespace

bool FingerprintLibrary::add(int32_t songID, const QByteArray &addDate, std::span<const uint32_t> items) {
    const auto kept = beginningOf(items);
    const std::lock_guard guard(lock_);
    dropFromIndex({songID});
    if (!file_.keepFingerprint(songID, addDate, kept))
        return false;
    if (isLoaded_) {
        const auto sorted = static_cast<ptrdiff_t>(postings_.size());
        appendPostings(songID, kept);
        std::sort(postings_.begin() + sorted, postings_.end());
        std::inplace_merge(postings_.begin(), postings_.begin() + sorted, postings_.end());
    }
    return true;
}

void FingerprintLibrary::forget(const QList<int32_t> &songIDs) {
    const std::lock_guard guard(lock_);
    file_.forget(songIDs);
    dropFromIndex(songIDs);
}

void FingerprintLibrary::dropFromIndex(const QList<int32_t> &songIDs) {
    std::vector<bool> isGone(songIDs_.size());
    bool isAnyGone = false;
    for (size_t place = 0; place < songIDs_.size(); ++place)
        if (songIDs_[place] != 0 && songIDs.contains(songIDs_[place])) {
            songIDs_[place] = 0;
            isGone[place] = isAnyGone = true;
        }
    if (isAnyGone)
        std::erase_if(postings_, [&isGone](Posting posting) { return isGone[posting >> 8 & (kMostTracks - 1)]; });
}

void FingerprintLibrary::loadIndex() {
    if (isLoaded_)
        return;
    postings_.clear();
    songIDs_.clear();
    isLoaded_ = file_.forEachFingerprint(
        [this](int32_t songID, const FingerprintFile::Items &items) { appendPostings(songID, beginningOf(items)); });
    std::sort(postings_.begin(), postings_.end());
}

void FingerprintLibrary::appendPostings(int32_t songID, std::span<const uint32_t> items) {
    if (songIDs_.size() >= kMostTracks)
        return;
    for (size_t position = 0; position < items.size(); position += kStep)
        postings_.push_back(postingOf(items[position], songIDs_.size(), position));
    songIDs_.push_back(songID);
}

std::vector<FingerprintLibrary::Match> FingerprintLibrary::matches(std::span<const uint32_t> items) {
    const auto asked = beginningOf(items);
    const std::lock_guard guard(lock_);
    loadIndex();
    std::vector<Match> found;
    for (const Candidate &candidate : candidates(asked)) {
        const int32_t songID = songIDs_[candidate.place];
        const FingerprintFile::Items known = file_.fingerprintOf(songID);
        // The beginnings of two recordings lie anywhere between two numbers.
        std::optional<double> least;
        for (int offset = candidate.offset - 1; offset <= candidate.offset + 1; ++offset)
            if (const auto errors = bitErrorsAt(asked, known, offset); errors && (!least || *errors < *least))
                least = errors;
        if (least && *least <= kMostBitErrors)
            found.push_back({songID, *least});
    }
    std::sort(found.begin(), found.end(),
              [](const Match &left, const Match &right) { return left.bitErrors < right.bitErrors; });
    return found;
}

std::vector<FingerprintLibrary::Candidate> FingerprintLibrary::candidates(std::span<const uint32_t> items) const {
    // Track and distance of every number that both have; in this order the votes for one thing stand together.
    std::vector<std::pair<uint32_t, int>> votes;
    const auto vote = [&](uint32_t number, size_t position) {
        const auto first = std::lower_bound(postings_.begin(), postings_.end(), postingOf(number, 0, 0));
        auto posting = first;
        for (; posting != postings_.end() && *posting >> 32 == number; ++posting)
            if (posting - first == kMostPlaces)
                return;
        for (auto place = first; place != posting; ++place)
            votes.emplace_back(static_cast<uint32_t>(*place >> 8 & (kMostTracks - 1)),
                               static_cast<int>((*place & 0xff) * kStep) - static_cast<int>(position));
    };
    for (size_t position = 0; position < items.size(); ++position) {
        vote(items[position], position);
        for (int bit = 0; bit < 32; ++bit)
            vote(items[position] ^ 1U << bit, position);
    }
    std::sort(votes.begin(), votes.end());
    std::vector<Candidate> best; // of each track the distance with the most votes
    for (size_t from = 0, to = 0; from < votes.size(); ++from) {
        const auto [place, offset] = votes[from];
        while (to < votes.size() && votes[to].first == place && votes[to].second < offset + kSameOffset)
            ++to;
        const Candidate here{place, votes[(from + to) / 2].second, static_cast<int>(to - from)};
        if (best.empty() || best.back().place != place)
            best.push_back(here);
        else if (here.votes > best.back().votes)
            best.back() = here;
    }
    std::erase_if(best, [](const Candidate &candidate) { return candidate.votes < kLeastVotes; });
    const size_t count = std::min(best.size(), kMostCandidates);
    std::partial_sort(best.begin(), best.begin() + static_cast<ptrdiff_t>(count), best.end(),
                      [](const Candidate &left, const Candidate &right) { return left.votes > right.votes; });
    best.resize(count);
    return best;
}

/// Nothing where too little of the two falls together.
std::optional<double> FingerprintLibrary::bitErrorsAt(std::span<const uint32_t> asked, std::span<const uint32_t> known,
                                                      int offset) {
    const auto skipped = static_cast<size_t>(std::abs(offset));
    auto &later = offset > 0 ? known : asked;
    if (later.size() <= skipped)
        return std::nullopt;
    later = later.subspan(skipped);
    const size_t overlap = std::min(asked.size(), known.size());
    const std::set<uint32_t> distinct(known.begin(), known.begin() + static_cast<ptrdiff_t>(overlap));
    if (overlap < kLeastOverlap || distinct.size() < kLeastDistinct)
        return std::nullopt;
    int errors = 0;
    for (size_t i = 0; i < overlap; ++i)
        errors += std::popcount(asked[i] ^ known[i]);
    return errors / (32.0 * static_cast<double>(overlap));
}
