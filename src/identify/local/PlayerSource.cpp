#include "identify/local/PlayerSource.h"

#include "identify/recognition/RecognitionSettings.h"

QString PlayerSource::key() const { return QString::fromLatin1(kIdentifyFromPlayers); }

bool PlayerSource::isUsable() const { return RecognitionSettings::current().fromPlayers; }

RecogniserAnswer PlayerSource::recognise(const RecognitionTask &task, const std::stop_token &stop) {
    using enum RecogniserAnswer::Outcome;
    const auto name = names_.nameOf(task.songID, stop);
    if (name)
        return {Found, *name};
    return {stop.stop_requested() ? Failed : NotFound};
}
