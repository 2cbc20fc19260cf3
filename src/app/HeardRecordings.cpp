#include "app/HeardRecordings.h"

#include "identify/recognition/RecognitionSettings.h"
#include "platform/run/HostTime.h"

void HeardRecordings::setRecording(bool isRecording) {
    const bool listens = isRecording && RecognitionSettings::ofUserDefaults().fromPlayers;
    if (listens == isListening_)
        return;
    isListening_ = listens;
    if (listens)
        titles_.watchDidBegin(AudioGetCurrentHostTime());
    players_.setWatching(listens);
    if (!listens)
        titles_.watchDidEnd(AudioGetCurrentHostTime());
}

void HeardRecordings::songWasRecorded(int32_t songID, uint64_t fromHostTime, uint64_t toHostTime) {
    // A cut that is under way at the stop ends its file behind it.
    if (!RecognitionSettings::ofUserDefaults().fromPlayers)
        return;
    names_.expect(songID);
    titles_.fileWasRecorded(songID, fromHostTime, toHostTime);
}

void HeardRecordings::playedTitleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime) {
    std::optional<PlayedTitle> heard = title;
    if (heard)
        heard->cover = pictures_.placeOf(*heard);
    titles_.titleDidChange(heard, hostTime);
}

void HeardRecordings::trackWasHeard(int32_t songID, const std::optional<Recognition> &name) {
    names_.keep(songID, name);
}
