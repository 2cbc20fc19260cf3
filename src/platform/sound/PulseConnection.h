// One connection to the sound server (PulseAudio, or PipeWire through its PulseAudio side) that keeps itself alive.
//
// Threads: the connection has a thread of its own, the loop thread, on which the client is called. Every other
// function is for any other thread holding a Lock, or for the loop thread, unless it says otherwise.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <pulse/pulseaudio.h>

using SoundDeadline = std::chrono::steady_clock::time_point;

/// Hears of the connection. Loop thread, locked.
class PulseConnectionClient {
public:
    /// The server answers; context() is new.
    virtual void connectionReady() = 0;
    /// The server that answered is gone; the connection is made again by itself, and no try of that which fails comes
    /// here. What hangs on the old context is dead, but must be let go later, not from here.
    virtual void connectionLost() = 0;

protected:
    ~PulseConnectionClient() = default;
};

/// Tries again every 250 ms while there is no server: looks whether anybody listens where the last try found nobody,
/// and once a second tries in full, since the address may be another by then. Never starts a server.
class PulseConnection {
public:
    /// Holds the loop thread off. Not to be taken on the loop thread.
    class Lock {
    public:
        explicit Lock(PulseConnection &connection) : loop_(connection.loop_) { pa_threaded_mainloop_lock(loop_); }
        ~Lock() { pa_threaded_mainloop_unlock(loop_); }
        Lock(const Lock &) = delete;
        Lock &operator=(const Lock &) = delete;

    private:
        pa_threaded_mainloop *loop_;
    };

    /// A one-shot timer on the loop thread, made and freed under the lock; setting and clearing it allocates nothing.
    class Timer {
    public:
        Timer(PulseConnection &connection, std::function<void()> fired);
        ~Timer();
        Timer(const Timer &) = delete;
        Timer &operator=(const Timer &) = delete;

        void fireIn(std::chrono::microseconds delay) noexcept;
        void clear() noexcept;
        bool isSet() const noexcept { return set_; }

    private:
        pa_mainloop_api *api_;
        std::function<void()> fired_;
        pa_time_event *event_;
        bool set_ = false;
    };

    /// Any thread. `threadName` has at most 15 characters. Does not connect yet.
    PulseConnection(const char *threadName, PulseConnectionClient &client);
    /// Without the lock. Timers of others must be gone.
    ~PulseConnection();
    PulseConnection(const PulseConnection &) = delete;
    PulseConnection &operator=(const PulseConnection &) = delete;

    /// Waits until the server answers. Fails at once when there is none, and, after it once failed to answer in time,
    /// until it does answer: a server that hangs costs its caller one wait, not one per question.
    [[nodiscard]] bool waitReady(SoundDeadline until);

    /// Waits for `operation`, which may be null, and lets it go. False when it was cancelled, or not done in time; its
    /// callback does not come any more then.
    [[nodiscard]] bool waitDone(pa_operation *operation, SoundDeadline until);

    /// Waits until `done` holds, asking it whenever wakeWaiting() was called. False when the time ran out.
    bool waitFor(SoundDeadline until, const std::function<bool()> &done);
    void wakeWaiting() noexcept { pa_threaded_mainloop_signal(loop_, 0); }

    bool isReady() const noexcept { return context_ && pa_context_get_state(context_) == PA_CONTEXT_READY; }
    pa_context *context() const noexcept { return context_; }

private:
    void connect();
    void retry();
    bool mayAnswer() const;
    void disconnect() noexcept;
    void stateChanged();
    void noteLost();
    void noteHung();

    PulseConnectionClient &client_;
    pa_threaded_mainloop *loop_;
    pa_context *context_ = nullptr;
    bool hung_ = false;     // did not answer in time, and has not answered since
    bool wasReady_ = false; // the client was told that the server answers, and not yet that it is gone
    std::unique_ptr<Timer> retry_;
    int looks_ = 0; // since the last try in full
};

/// The pause between two tries to reach a server or a source that is not there.
inline constexpr std::chrono::milliseconds kSoundRetry{250};

/// The longest that the main thread waits for the sound server.
inline constexpr std::chrono::seconds kSoundPatience{2};
inline SoundDeadline soundDeadline() { return std::chrono::steady_clock::now() + kSoundPatience; }
