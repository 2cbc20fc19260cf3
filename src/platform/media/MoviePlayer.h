// A player of libmpv that reads one plain file, shows nothing and runs no scripts.
//
// Threads: main. The player reads the file on threads of its own. No call waits for it, as it may itself be waiting for
// a sound server that hangs; what is asked for comes back as an event that bears the number `reply`.
#pragma once

#include <QString>
#include <atomic>
#include <memory>

struct mpv_event;
struct mpv_handle;

class MoviePlayer {
public:
    /// Ends the player. It gets some time to close its sound; one that hangs is left to a thread that outlives it.
    struct Closer {
        void operator()(MoviePlayer *player) const;
    };
    using Ptr = std::unique_ptr<MoviePlayer, Closer>;

    /// Loads libmpv in the background, so that the first player need not wait for it.
    static void prepare();
    /// Null, with a line in the log, when libmpv does not come up.
    static Ptr create();

    /// Opens `path`, paused. Whatever its characters are, it is the name of a file of this machine.
    void load(const QString &path);
    void seek(qint64 microseconds, uint64_t reply);
    void setPaused(bool isPaused, uint64_t reply);
    /// Linear, 0 to 1.
    void setVolume(float volume);
    void askForNumber(const char *property, uint64_t reply);
    void askForText(const char *property, uint64_t reply);
    /// Before a file that was open is closed, for whatever reason, there is a hook event, and until this is called with
    /// its id the player can still be asked where it stands.
    void letFileGo(uint64_t hook);

    /// The next event, or one that says that there was none in that time. It is valid until the next call.
    const mpv_event &nextEvent(double seconds);
    /// `callback` is called with `argument` when there are events, on any thread; null ends that.
    void setWakeup(void (*callback)(void *), void *argument);
    /// The file could not be read, or became shorter, while it was open.
    bool isFileFaulty() const { return isFileFaulty_; }

private:
    MoviePlayer() = default;
    ~MoviePlayer() = default;
    bool setUp();
    void setProperty(const char *name, const char *value, uint64_t reply);
    void command(const char *const *words, uint64_t reply);

    mpv_handle *handle_ = nullptr;
    std::atomic<bool> isFileFaulty_ = false; // the reading thread sets it
};
