#include "identify/online/AcoustID.h"

#include "identify/online/JsonText.h"
#include "identify/online/OnlineTexts.h"

#include <QUrl>
#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr double kLeastScore = 0.5;
constexpr double kLeastMargin = 0.1;
constexpr double kRounding = 1e-9; // of a margin between two decimal fractions
constexpr int kInvalidKey = 4;     // the service's number of the error

struct Candidate {
    AcoustIDRecording recording;
    double score = 0;
    double lengthDifference = 0; // seconds; none where the service tells no length
    double sources = 0;

    bool isLike(const Candidate &other) const {
        return isSameText(recording.title, other.recording.title) &&
               (!recording.title.isNull() || recording.identifier == other.recording.identifier);
    }
    bool isBetterThan(const Candidate &other) const {
        const bool isNear = lengthDifference <= kLengthTolerance;
        const bool isOtherNear = other.lengthDifference <= kLengthTolerance;
        if (isNear != isOtherNear)
            return isNear;
        if (score != other.score)
            return score > other.score;
        return sources != other.sources ? sources > other.sources : recording.identifier < other.recording.identifier;
    }
};

void addRecordings(std::vector<Candidate> &candidates, const QJsonObject &result, double seconds) {
    const double score = numberOf(result["score"]).value_or(0);
    for (const auto &value : result["recordings"].toArray()) {
        const QJsonObject told = value.toObject();
        Candidate candidate{.recording = {.identifier = identifierOf(told["id"]),
                                          .title = textOf(told["title"]),
                                          .artist = creditedArtists(told["artists"].toArray())},
                            .score = score};
        if (candidate.recording.identifier.isNull())
            continue;
        if (const auto length = numberOf(told["duration"]))
            candidate.lengthDifference = std::abs(*length - seconds);
        candidate.sources = numberOf(told["sources"]).value_or(0);
        candidates.push_back(candidate);
    }
}

AcoustIDAnswer chosen(std::vector<Candidate> candidates) {
    using Outcome = AcoustIDAnswer::Outcome;
    if (candidates.empty())
        return {Outcome::NoMatch};
    // A recording without a title is one that the service's copy of MusicBrainz lacks.
    if (std::ranges::any_of(candidates, [](const Candidate &one) { return !one.recording.title.isNull(); }))
        std::erase_if(candidates, [](const Candidate &one) { return one.recording.title.isNull(); });
    const Candidate best = *std::ranges::max_element(candidates, {}, &Candidate::score);
    if (best.score < kLeastScore)
        return {Outcome::Ambiguous};
    std::erase_if(candidates, [&](const Candidate &one) { return one.score <= best.score - kLeastMargin + kRounding; });
    if (!std::ranges::all_of(candidates, [&](const Candidate &one) { return one.isLike(best); }))
        return {Outcome::Ambiguous};
    const auto choice = std::ranges::max_element(
        candidates, [](const Candidate &one, const Candidate &other) { return other.isBetterThan(one); });
    return {Outcome::Found, choice->recording};
}

} // namespace

QByteArray acoustIDForm(const QString &key, const QByteArray &fingerprint, double seconds,
                        std::optional<int> durationDifference) {
    QByteArray form = "format=json&client=" + QUrl::toPercentEncoding(key) +
                      "&clientversion=" CORVIDIA_VERSION "&meta=recordings%20sources&duration=" +
                      QByteArray::number(std::lround(seconds)) + "&fingerprint=" + fingerprint.toPercentEncoding();
    if (durationDifference)
        form += "&maxdurationdiff=" + QByteArray::number(*durationDifference);
    return form;
}

AcoustIDAnswer acoustIDAnswer(const QByteArray &body, double seconds) {
    using Outcome = AcoustIDAnswer::Outcome;
    const auto answer = jsonObject(body);
    if (!answer)
        return {Outcome::Failed};
    if ((*answer)["status"].toString() != "ok")
        return {numberOf((*answer)["error"].toObject()["code"]) == kInvalidKey ? Outcome::WrongKey : Outcome::Failed};
    std::vector<Candidate> candidates;
    for (const auto &result : (*answer)["results"].toArray())
        addRecordings(candidates, result.toObject(), seconds);
    return chosen(std::move(candidates));
}
