#include "identify/online/OnlineSource.h"

#include "identify/online/AcoustID.h"
#include "identify/online/JsonText.h"
#include "identify/online/MusicBrainz.h"
#include "identify/recognition/Fingerprint.h"
#include "identify/recognition/RecognitionSettings.h"
#include "platform/run/Log.h"
#include "tags/audio/AudioLength.h"

using namespace std::chrono_literals;

namespace {

constexpr auto kFingerprinted = 120s; // as much as the service compares
constexpr auto kAcoustIDSpacing = 333ms;
// Recordings that were cut at silence lack some seconds, or have some of their neighbour's.
constexpr int kLargestDifference = 30;

double lengthOf(const RecognitionTask &task) {
    if (task.milliseconds > 0)
        return static_cast<double>(task.milliseconds) / 1000;
    const auto length = audioLength(task.songPath);
    return length ? length->seconds : 0;
}

/// One track in work.
class Lookup {
public:
    Lookup(HttpClient &client, const RecognitionSettings &settings, double seconds, bool isAskedAnew,
           const std::stop_token &stop)
        : client_(client), settings_(settings), seconds_(seconds), isAskedAnew_(isAskedAnew), stop_(stop) {}

    /// The usual tolerance first; only where that finds nothing at all is the service asked again.
    AcoustIDAnswer recording(const QByteArray &fingerprint) const {
        const AcoustIDAnswer answer = recording(fingerprint, /*difference=*/{});
        return answer.outcome == AcoustIDAnswer::Outcome::NoMatch ? recording(fingerprint, kLargestDifference) : answer;
    }

    RecogniserAnswer details(const AcoustIDRecording &recording) const {
        const HttpAnswer answer =
            client_.fetch({.url = QUrl(settings_.musicBrainzAddress + recordingPath(recording.identifier)),
                           .isAskedAnew = isAskedAnew_},
                          stop_);
        Recognition found;
        // A recording may have been merged or deleted since.
        if (answer.status != 404 || !jsonObject(answer.body)) {
            const auto told = answer.status == 200 ? recognitionOf(answer.body, seconds_) : std::nullopt;
            if (!told)
                return {RecogniserAnswer::Outcome::Failed};
            found = *told;
        }
        if (found.title.isNull())
            found.title = recording.title;
        if (found.artist.isNull())
            found.artist = recording.artist;
        if (found.title.isNull())
            return {RecogniserAnswer::Outcome::NotFound};
        return {RecogniserAnswer::Outcome::Found, found};
    }

private:
    AcoustIDAnswer recording(const QByteArray &fingerprint, std::optional<int> difference) const {
        const HttpAnswer answer =
            client_.fetch({.url = QUrl(settings_.acoustIDAddress + "/v2/lookup"),
                           .form = acoustIDForm(settings_.acoustIDKey, fingerprint, seconds_, difference),
                           .spacing = kAcoustIDSpacing,
                           .isAskedAnew = isAskedAnew_},
                          stop_);
        return acoustIDAnswer(answer.body, seconds_);
    }

    HttpClient &client_;
    const RecognitionSettings &settings_;
    const double seconds_;
    const bool isAskedAnew_;
    const std::stop_token &stop_;
};

bool mayAsk(const RecognitionSettings &settings) {
    return settings.online && !settings.acoustIDKey.isEmpty() &&
           settings.acoustIDKey != RecognitionSettings::refusedKey();
}

} // namespace

QString OnlineSource::key() const { return QString::fromLatin1(kIdentifyOnline); }

bool OnlineSource::isUsable() const { return mayAsk(RecognitionSettings::current()); }

// A track that is asked for once more is so by the user, who wants to know what the services say today.
RecogniserAnswer OnlineSource::recognise(const RecognitionTask &task, const std::stop_token &stop) {
    bool isAskedAnew = false;
    {
        const std::lock_guard lock(mutex_);
        isAskedAnew = unnamed_.contains(task.songID);
    }
    RecogniserAnswer answer = lookUp(task, isAskedAnew, stop);
    const std::lock_guard lock(mutex_);
    if (answer.outcome == RecogniserAnswer::Outcome::Found)
        unnamed_.erase(task.songID);
    else
        unnamed_.insert(task.songID);
    return answer;
}

RecogniserAnswer OnlineSource::lookUp(const RecognitionTask &task, bool isAskedAnew,
                                      const std::stop_token &stop) const {
    using Outcome = RecogniserAnswer::Outcome;
    const RecognitionSettings settings = RecognitionSettings::current();
    if (!mayAsk(settings))
        return {Outcome::Failed};
    const double seconds = lengthOf(task);
    const auto fingerprint = fingerprintOfFile(task.songPath, kFingerprinted, stop);
    if (!fingerprint || seconds <= 0)
        return {Outcome::Failed};
    const Lookup lookup(*client_, settings, seconds, isAskedAnew, stop);
    const AcoustIDAnswer answer = lookup.recording(fingerprint->compressed());
    switch (answer.outcome) {
    case AcoustIDAnswer::Outcome::Found:
        return lookup.details(answer.recording);
    case AcoustIDAnswer::Outcome::NoMatch:
    case AcoustIDAnswer::Outcome::Ambiguous:
        return {Outcome::NotFound};
    case AcoustIDAnswer::Outcome::WrongKey:
        logLine("AcoustID does not know the application key");
        RecognitionSettings::setRefusedKey(settings.acoustIDKey);
        break;
    case AcoustIDAnswer::Outcome::Failed:
        break;
    }
    return {Outcome::Failed};
}
