// Listens to the media players while something is recorded, and keeps what they said of each recording.
//
// Threads: main.
#pragma once

#include "identify/local/HeardNames.h"
#include "identify/local/HeardPictures.h"
#include "identify/local/HeardTitles.h"
#include "platform/desktop/MediaPlayers.h"

class HeardRecordings final : MediaPlayersDelegate, HeardTitlesDelegate {
public:
    /// `names` outlives this.
    explicit HeardRecordings(HeardNames &names) : names_(names) {}

    /// Whether something is recorded now. Where the user has switched the players off, nobody is listened to.
    void setRecording(bool isRecording);
    /// The sound of the recording was heard between these host times.
    void songWasRecorded(int32_t songID, uint64_t fromHostTime, uint64_t toHostTime);

private:
    void playedTitleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime) override;
    void trackWasHeard(int32_t songID, const std::optional<Recognition> &name) override;

    HeardNames &names_;
    HeardTitles titles_{*this};
    HeardPictures pictures_;
    MediaPlayers players_{*this};
    bool isListening_ = false;
};
