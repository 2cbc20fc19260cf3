// What was heard while something was recorded: the titles that the player told, one after another, and which of them
// belongs to which recording.
//
// All times are host times: the clock that stamps the sound is the one by which a player's news are timed.
//
// Threads: main.
#pragma once

#include "identify/recognition/RecogniserSource.h"
#include "platform/desktop/PlayedTitle.h"

#include <deque>
#include <optional>

class HeardTitlesDelegate {
public:
    /// What is known for good of the recording `songID`: the name that a player gave it, or nothing.
    virtual void trackWasHeard(int32_t songID, const std::optional<Recognition> &name) = 0;

protected:
    ~HeardTitlesDelegate() = default;
};

/// A title belongs to a recording when it covers 80 % of it. Players and stations are some seconds early or late, so a
/// change near an end of the recording counts as at that end.
///
/// Whether a title is a song's, and not a station's that stands all evening, shows only by its end: until then the
/// recording waits, unless the player knows a length and the recording has it.
class HeardTitles {
public:
    /// `delegate` outlives this.
    explicit HeardTitles(HeardTitlesDelegate &delegate) : delegate_(delegate) {}

    void watchDidBegin(uint64_t hostTime);
    /// All recordings are told of by then.
    void watchDidEnd(uint64_t hostTime);
    /// From `hostTime` on the player says so, or nothing.
    void titleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime);
    /// The sound of the recording `songID` was heard between these times. The delegate hears of it now or later, once.
    void fileWasRecorded(int32_t songID, uint64_t from, uint64_t to);

private:
    static constexpr uint64_t kStands = ~uint64_t{0};

    /// The time through which a player said the same.
    struct Interval {
        PlayedTitle title;
        uint64_t from = 0;
        uint64_t to = kStands;
        bool hasBegin = false; // it was seen to begin, and did not just stand there when the watch began
        bool hasEnd = false;
    };
    struct File {
        int32_t songID = 0;
        uint64_t from = 0, to = 0;
        bool isSettled = false;

        uint64_t length() const { return to - from; }
    };
    enum class Verdict { Open, Named, Nameless };

    static double covered(const Interval &interval, const File &file);
    static bool fitsLength(const PlayedTitle &title, const File &file);
    bool isOver(const Interval &interval, const File &file) const;
    bool coversOthers(const Interval &interval, const File &file) const;
    static bool isSong(const Interval &interval);
    bool isArtistOfStation(const PlayedTitle &title) const;
    Verdict verdictOn(const File &file, const Interval &interval) const;
    const Interval *intervalOver(const File &file) const;
    void settle(File &file);
    void settleAll();

    HeardTitlesDelegate &delegate_;
    bool isWatching_ = false;
    uint64_t watchBegin_ = 0;
    std::deque<Interval> intervals_; // by time; those of the last hours
    std::deque<File> files_;         // by time; the last ones
};
