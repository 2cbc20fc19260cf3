#include "platform/sound/PulseConnection.h"

#include "platform/run/Log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

/// Looks between two tries in full: a try costs half a millisecond even where nobody answers, most of it for the memory
/// that a context gets at once, a look a hundredth of that.
constexpr int kLooks = 3;

/// The loop thread of a capture stream is an audio thread: nothing here allocates.
bool isListenedTo(const char *folder, const char *name = "") {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const int length = std::snprintf(address.sun_path, sizeof(address.sun_path), "%s%s", folder, name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof(address.sun_path))
        return true; // not to be told from here
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool isThere = socket < 0 ||
                         ::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0 ||
                         (errno != ENOENT && errno != ENOTDIR && errno != ECONNREFUSED);
    if (socket >= 0)
        ::close(socket);
    return isThere;
}

/// Whether the server of this user's session may listen at its default place.
bool isSessionListenedTo() {
    if (const char *folder = std::getenv("PULSE_RUNTIME_PATH"))
        return isListenedTo(folder, "/native");
    const char *folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && isListenedTo(folder, "/pulse/native");
}

} // namespace

PulseConnection::Timer::Timer(PulseConnection &connection, std::function<void()> fired)
    : api_(pa_threaded_mainloop_get_api(connection.loop_)),
      fired_(std::move(fired)),
      event_(api_->time_new(
          api_, nullptr,
          [](pa_mainloop_api *, pa_time_event *, const timeval *, void *user) {
              auto &timer = *static_cast<Timer *>(user);
              timer.clear();
              timer.fired_();
          },
          this)) {}

PulseConnection::Timer::~Timer() { api_->time_free(event_); }

void PulseConnection::Timer::fireIn(std::chrono::microseconds delay) noexcept {
    timeval when{};
    pa_timeval_add(pa_gettimeofday(&when), static_cast<pa_usec_t>(delay.count()));
    api_->time_restart(event_, &when);
    set_ = true;
}

void PulseConnection::Timer::clear() noexcept {
    api_->time_restart(event_, nullptr);
    set_ = false;
}

PulseConnection::PulseConnection(const char *threadName, PulseConnectionClient &client)
    : client_(client), loop_(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(loop_, threadName);
    retry_ = std::make_unique<Timer>(*this, [this] { retry(); });
    pa_threaded_mainloop_start(loop_);
}

PulseConnection::~PulseConnection() {
    {
        const Lock lock(*this);
        disconnect();
        retry_.reset();
    }
    pa_threaded_mainloop_stop(loop_);
    pa_threaded_mainloop_free(loop_);
}

void PulseConnection::retry() {
    if (looks_ == kLooks || mayAnswer())
        return connect();
    ++looks_;
    retry_->fireIn(kSoundRetry);
}

/// Whether somebody may listen where the last context found nobody.
bool PulseConnection::mayAnswer() const {
    const char *tried = context_ ? pa_context_get_server(context_) : nullptr;
    if (!tried)
        return true;
    constexpr const char *kLocal = "unix:";
    if (std::strncmp(tried, kLocal, std::strlen(kLocal)) == 0)
        tried += std::strlen(kLocal);
    // A server elsewhere answers a try only.
    return *tried != '/' || isListenedTo(tried) || isSessionListenedTo();
}

void PulseConnection::connect() {
    disconnect();
    looks_ = 0;
    context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "Corvidia");
    pa_context_set_state_callback(
        context_, [](pa_context *, void *user) { static_cast<PulseConnection *>(user)->stateChanged(); }, this);
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        retry_->fireIn(kSoundRetry);
}

void PulseConnection::disconnect() noexcept {
    retry_->clear();
    if (!context_)
        return;
    pa_context_set_state_callback(context_, nullptr, nullptr);
    pa_context_set_subscribe_callback(context_, nullptr, nullptr);
    pa_context_disconnect(context_);
    pa_context_unref(context_);
    context_ = nullptr;
}

void PulseConnection::stateChanged() {
    const pa_context_state_t state = pa_context_get_state(context_);
    if (state == PA_CONTEXT_READY) {
        hung_ = false;
        wasReady_ = true;
        client_.connectionReady();
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        retry_->fireIn(kSoundRetry);
        noteLost();
    }
    wakeWaiting();
}

void PulseConnection::noteLost() {
    if (std::exchange(wasReady_, false))
        client_.connectionLost();
}

bool PulseConnection::waitReady(SoundDeadline until) {
    if (isReady())
        return true;
    if (hung_)
        return false;
    if (!context_ || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)))
        connect();
    const bool answered =
        waitFor(until, [this] { return isReady() || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)); });
    if (!answered)
        noteHung();
    return isReady();
}

void PulseConnection::noteHung() {
    hung_ = true;
    logLine("The sound server does not answer");
}

bool PulseConnection::waitDone(pa_operation *operation, SoundDeadline until) {
    if (!operation)
        return false;
    pa_operation_set_state_callback(
        operation, [](pa_operation *, void *user) { static_cast<PulseConnection *>(user)->wakeWaiting(); }, this);
    const bool answered =
        waitFor(until, [operation] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; });
    const bool done = pa_operation_get_state(operation) == PA_OPERATION_DONE;
    if (!answered)
        pa_operation_cancel(operation);
    pa_operation_unref(operation);
    if (!answered) {
        noteHung();
        noteLost();
        connect();
    }
    return done;
}

bool PulseConnection::waitFor(SoundDeadline until, const std::function<bool()> &done) {
    Timer timer(*this, [this] { wakeWaiting(); });
    while (!done()) {
        const auto left = until - std::chrono::steady_clock::now();
        if (left <= left.zero())
            return false;
        timer.fireIn(std::chrono::ceil<std::chrono::microseconds>(left));
        pa_threaded_mainloop_wait(loop_);
    }
    return true;
}
