#include "platform/sound/PulseInputUnit.h"

#include "platform/run/HostTime.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/sound/PulseConnection.h"
#include "platform/sound/Reblocker.h"

#include <atomic>
#include <string>

namespace {

// What the server sends at once: 104 ms, for a display that moves ten times a second. The work of the server, and of
// everybody who is woken by it, falls steeply with it.
constexpr int kFragmentBlocks = 9;
constexpr uint32_t kFragmentFrames = kFragmentBlocks * kBlockFrames;
constexpr uint32_t kFrameBytes = 2 * sizeof(float);

// After a stall the server hands over all it kept, up to 12 s. It is passed on no faster than this, about 7 times the
// speed of the sound, so that the queues behind the client keep up.
constexpr int kBlocksPerWindow = kFragmentBlocks;
constexpr std::chrono::milliseconds kWindow{15};
constexpr uint64_t kWindowNanos = std::chrono::nanoseconds(kWindow).count();

class PulseInputUnit final : public InputUnit, PulseConnectionClient {
public:
    explicit PulseInputUnit(InputUnitClient &client);
    ~PulseInputUnit() override;

    bool initialize(DeviceID device) override;
    Status start() override;
    Status stop() override;

private:
    void connectionReady() override;
    void connectionLost() override { interrupted(); }

    void openStream();
    void connectStream(const pa_source_info &source);
    void closeStream() noexcept;
    void streamStateChanged();
    void interrupted();
    void drain() noexcept;
    void passOn(const float *samples, size_t frames, uint64_t hostTime) noexcept;
    void tellInterruption();

    InputUnitClient &client_;

    // Under the connection's lock.
    std::string sourceName_;
    uint32_t sourceIndex_ = PA_INVALID_INDEX; // where stream_ was sent
    pa_stream *stream_ = nullptr;
    bool running_ = false;
    bool isInterrupted_ = false;
    uint64_t interruptedAt_ = 0; // host time of the first frame that is missing
    uint64_t windowStart_ = 0;   // host time since which windowBlocks_ were handed out
    int windowBlocks_ = 0;
    Reblocker reblocker_;

    // From the audio thread to the main thread; each is taken and cleared there. No order between them matters.
    std::atomic<bool> lost_ = false;
    std::atomic<uint64_t> gapNanos_ = 0;
    MainThreadWakeup wake_;

    PulseConnection connection_;
    std::unique_ptr<PulseConnection::Timer> retry_;
    std::unique_ptr<PulseConnection::Timer> catchUp_;
};

PulseInputUnit::PulseInputUnit(InputUnitClient &client)
    : client_(client), wake_([this] { tellInterruption(); }), connection_("Audio", *this) {
    const PulseConnection::Lock lock(connection_);
    retry_ = std::make_unique<PulseConnection::Timer>(connection_, [this] { openStream(); });
    catchUp_ = std::make_unique<PulseConnection::Timer>(connection_, [this] { drain(); });
}

PulseInputUnit::~PulseInputUnit() {
    const PulseConnection::Lock lock(connection_);
    running_ = false;
    closeStream();
    retry_.reset();
    catchUp_.reset();
}

bool PulseInputUnit::initialize(DeviceID device) {
    const SoundDeadline until = soundDeadline();
    const PulseConnection::Lock lock(connection_);
    if (device == 0 || !connection_.waitReady(until))
        return false;
    pa_operation *lookup = pa_context_get_source_info_by_index(
        connection_.context(), device - 1,
        [](pa_context *, const pa_source_info *info, int, void *user) {
            if (info)
                *static_cast<std::string *>(user) = info->name;
        },
        &sourceName_);
    return connection_.waitDone(lookup, until) && !sourceName_.empty();
}

Status PulseInputUnit::start() {
    const SoundDeadline until = soundDeadline();
    const PulseConnection::Lock lock(connection_);
    if (running_)
        return 0;
    if (sourceName_.empty())
        return PA_ERR_BADSTATE;
    if (!connection_.waitReady(until))
        return PA_ERR_CONNECTIONREFUSED;
    reblocker_.reset();
    isInterrupted_ = false;
    running_ = true;
    openStream();
    const auto isSettled = [this] {
        return isInterrupted_ || (stream_ && pa_stream_get_state(stream_) == PA_STREAM_READY);
    };
    if (connection_.waitFor(until, isSettled) && !isInterrupted_)
        return 0;
    running_ = false;
    closeStream();
    lost_.store(false, std::memory_order_relaxed); // the caller is told here
    return PA_ERR_NOENTITY;
}

Status PulseInputUnit::stop() {
    const PulseConnection::Lock lock(connection_);
    running_ = false;
    closeStream();
    return 0;
}

void PulseInputUnit::connectionReady() {
    // A newer PipeWire lets the stream live when its source goes away, and it hears nothing any more.
    pa_context_set_subscribe_callback(
        connection_.context(),
        [](pa_context *, pa_subscription_event_type_t event, uint32_t index, void *user) {
            auto &unit = *static_cast<PulseInputUnit *>(user);
            const bool isRemoval = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE;
            if (isRemoval && unit.stream_ && index == unit.sourceIndex_)
                unit.interrupted();
        },
        this);
    if (pa_operation *subscription =
            pa_context_subscribe(connection_.context(), PA_SUBSCRIPTION_MASK_SOURCE, nullptr, nullptr))
        pa_operation_unref(subscription);
    if (running_)
        openStream();
}

// The source is looked up first, because PipeWire gives a stream for an unknown name, and the stream goes to a name,
// because an index may have been given away since.
void PulseInputUnit::openStream() {
    closeStream();
    if (!connection_.isReady())
        return; // connectionReady() comes back here
    pa_operation *lookup = pa_context_get_source_info_by_name(
        connection_.context(), sourceName_.c_str(),
        [](pa_context *, const pa_source_info *info, int eol, void *user) {
            auto &unit = *static_cast<PulseInputUnit *>(user);
            if (!unit.running_ || unit.stream_)
                return;
            if (info)
                unit.connectStream(*info);
            else if (eol < 0)
                unit.interrupted();
        },
        this);
    if (lookup)
        pa_operation_unref(lookup);
}

void PulseInputUnit::connectStream(const pa_source_info &source) {
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, kSampleRate, 2};
    stream_ = pa_stream_new(connection_.context(), "Capture", &format, nullptr);
    if (!stream_)
        return interrupted();
    sourceIndex_ = source.index;
    const auto stateChanged = [](pa_stream *, void *user) {
        static_cast<PulseInputUnit *>(user)->streamStateChanged();
    };
    pa_stream_set_state_callback(stream_, stateChanged, this);
    pa_stream_set_moved_callback(stream_, stateChanged, this);
    pa_stream_set_read_callback(
        stream_,
        [](pa_stream *, size_t, void *user) {
            auto &unit = *static_cast<PulseInputUnit *>(user);
            if (!unit.catchUp_->isSet())
                unit.drain();
        },
        this);
    constexpr auto kServerChooses = static_cast<uint32_t>(-1);
    const pa_buffer_attr buffer{kServerChooses, kServerChooses, kServerChooses, kServerChooses,
                                kFragmentFrames * kFrameBytes};
    // Without DONT_MOVE the server moves the stream to a microphone when the source goes away.
    const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    if (pa_stream_connect_record(stream_, sourceName_.c_str(), &buffer, flags) < 0)
        interrupted();
}

void PulseInputUnit::closeStream() noexcept {
    retry_->clear();
    catchUp_->clear();
    if (!stream_)
        return;
    pa_stream_set_state_callback(stream_, nullptr, nullptr);
    pa_stream_set_moved_callback(stream_, nullptr, nullptr);
    pa_stream_set_read_callback(stream_, nullptr, nullptr);
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
    stream_ = nullptr;
}

void PulseInputUnit::streamStateChanged() {
    const pa_stream_state_t state = pa_stream_get_state(stream_);
    const bool isElsewhere = state == PA_STREAM_READY && pa_stream_get_device_index(stream_) != sourceIndex_;
    if (isElsewhere || !PA_STREAM_IS_GOOD(state))
        interrupted();
    connection_.wakeWaiting();
}

// The stream is left for openStream() to let go: this may be a callback of the stream itself.
void PulseInputUnit::interrupted() {
    if (!running_)
        return;
    if (stream_)
        pa_stream_set_read_callback(stream_, nullptr, nullptr);
    catchUp_->clear();
    if (!isInterrupted_) {
        isInterrupted_ = true;
        interruptedAt_ = reblocker_.isStarted() ? reblocker_.nextTime() : AudioGetCurrentHostTime();
        lost_.store(true, std::memory_order_relaxed);
        wake_.signal();
    }
    retry_->fireIn(kSoundRetry);
    connection_.wakeWaiting();
}

// Audio thread, no allocation. A fragment is taken whole: libpulse waits for ever for one that is still being looked at
// when the server goes away.
void PulseInputUnit::drain() noexcept {
    // Counted over time, not per call: what was kept comes as a row of single fragments.
    if (const uint64_t now = AudioGetCurrentHostTime(); now - windowStart_ >= kWindowNanos) {
        windowStart_ = now;
        windowBlocks_ = 0;
    }
    for (;;) {
        const size_t readable = pa_stream_readable_size(stream_);
        if (readable == static_cast<size_t>(-1) || readable == 0)
            return;
        if (windowBlocks_ >= kBlocksPerWindow)
            return catchUp_->fireIn(kWindow);
        const void *data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream_, &data, &bytes) < 0 || bytes == 0)
            return;
        // What can be read ends now, so its first frame is that much older.
        passOn(static_cast<const float *>(data), bytes / kFrameBytes,
               AudioGetCurrentHostTime() - Reblocker::framesToNanos(readable / kFrameBytes));
        pa_stream_drop(stream_);
    }
}

// Audio thread, no allocation. Null samples are a hole.
void PulseInputUnit::passOn(const float *samples, size_t frames, uint64_t hostTime) noexcept {
    if (isInterrupted_) {
        isInterrupted_ = false;
        reblocker_.reset();
        gapNanos_.store(hostTime > interruptedAt_ ? hostTime - interruptedAt_ : 0, std::memory_order_relaxed);
        wake_.signal();
    }
    reblocker_.beginChunk(hostTime);
    for (size_t done = 0; done < frames;) {
        done += reblocker_.take(samples ? samples + 2 * done : nullptr, frames - done);
        if (reblocker_.isFull()) {
            ++windowBlocks_;
            client_.AudioInputProc(reblocker_.slice());
        }
    }
}

void PulseInputUnit::tellInterruption() {
    if (lost_.exchange(false, std::memory_order_relaxed))
        logLine("The capture source went away; waiting for it");
    if (const uint64_t gap = gapNanos_.exchange(0, std::memory_order_relaxed))
        logLine(QString("Capture goes on after a gap of %1 s").arg(static_cast<double>(gap) * 1e-9, 0, 'f', 3));
}

} // namespace

InputUnitFactory pulseInputUnitFactory() {
    return [](InputUnitClient &client) { return std::make_unique<PulseInputUnit>(client); };
}
