#include "platform/sound/PulseConnection.h"

#include "platform/run/Log.h"

#include <utility>

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
    retry_ = std::make_unique<Timer>(*this, [this] { connect(); });
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

void PulseConnection::connect() {
    disconnect();
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
