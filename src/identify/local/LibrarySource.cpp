#include "identify/local/LibrarySource.h"

#include "identify/recognition/Fingerprint.h"
#include "identify/recognition/RecognitionSettings.h"

#include <cstdlib>

namespace {

// Recordings that were cut at silence are some seconds off; one that is longer holds more than the song.
constexpr int64_t kLengthSlack = 10'000; // milliseconds

bool hasSameName(const Recognition &left, const Recognition &right) {
    return left.title.compare(right.title, Qt::CaseInsensitive) == 0 &&
           left.artist.compare(right.artist, Qt::CaseInsensitive) == 0;
}

} // namespace

QString LibrarySource::key() const { return QString::fromLatin1(kIdentifyFromLibrary); }

bool LibrarySource::isUsable() const { return RecognitionSettings::current().fromLibrary; }

RecogniserAnswer LibrarySource::recognise(const RecognitionTask &task, const std::stop_token &stop) {
    using enum RecogniserAnswer::Outcome;
    const auto fingerprint = fingerprintOfFile(task.songPath, kComparedTime, stop);
    if (stop.stop_requested())
        return {Failed};
    if (!fingerprint)
        return {NotFound};
    std::optional<Recognition> best;
    for (const auto &match : fingerprints_.matches(fingerprint->raw)) {
        const auto track = match.songID == task.songID ? std::nullopt : library_.tagsOf(match.songID);
        if (!track || !track->isIdentified || track->tags.title.isNull() || track->tags.artist.isNull())
            continue;
        if (task.milliseconds > 0 && std::abs(track->milliseconds - task.milliseconds) > kLengthSlack)
            continue;
        if (best && !hasSameName(*best, track->tags))
            return {NotFound};
        if (!best)
            best = track->tags;
    }
    if (!best)
        return {NotFound};
    return {Found, *best};
}
