#include "platform/sound/SoundServerLink.h"

#include "platform/run/Log.h"

#include <utility>

namespace {

SoundSource itemOf(const pa_source_info &info, SoundSource *) {
    return {info.index, info.name, info.description, info.monitor_of_sink != PA_INVALID_INDEX,
            info.sample_spec.channels};
}

SoundSink itemOf(const pa_sink_info &info, SoundSink *) {
    return {info.index, info.name, info.description, info.monitor_source, info.monitor_source_name};
}

SoundModule itemOf(const pa_module_info &info, SoundModule *) { return {info.index, info.name, info.argument}; }

SoundSourceOutput itemOf(const pa_source_output_info &info, SoundSourceOutput *) {
    return {info.index, info.owner_module, info.source};
}

PlayedStream itemOf(const pa_sink_input_info &info, PlayedStream *) {
    const char *processID = pa_proplist_gets(info.proplist, PA_PROP_APPLICATION_PROCESS_ID);
    const bool isMuted = info.mute != 0 || (info.has_volume != 0 && pa_cvolume_is_muted(&info.volume) != 0);
    return {info.sink, QByteArray(processID).toLongLong(), info.corked == 0 && !isMuted};
}

/// Gathers a list that the server answers piece by piece.
template <class Item>
struct Listing {
    QList<Item> items;
    bool isComplete = false;

    template <class Info>
    static void append(pa_context *, const Info *info, int eol, void *user) {
        auto &listing = *static_cast<Listing *>(user);
        if (info)
            listing.items.append(itemOf(*info, static_cast<Item *>(nullptr)));
        else
            listing.isComplete = eol > 0;
    }
};

void storeSuccess(pa_context *, int success, void *user) { *static_cast<bool *>(user) = success != 0; }

} // namespace

SoundServer::Link::Link()
    : devicesWake_([this] { tellDevices(); }),
      connection_("Sound-Control", *this),
      follower_([this] { followLoop(); }) {}

SoundServer::Link::~Link() {
    {
        const std::lock_guard guard(following_);
        isEnding_ = true;
    }
    followNow_.notify_one();
    follower_.join();
}

/// Has `ask` start an operation on a server that answers, and waits for it.
template <class Ask>
bool SoundServer::Link::done(SoundDeadline until, Ask ask) {
    const PulseConnection::Lock lock(connection_);
    return connection_.waitReady(until) && connection_.waitDone(ask(connection_.context()), until);
}

template <class Item, class Ask>
std::optional<QList<Item>> SoundServer::Link::listed(SoundDeadline until, Ask ask) {
    Listing<Item> listing;
    if (!done(until, [&](pa_context *context) { return ask(context, &listing); }) || !listing.isComplete)
        return std::nullopt;
    return listing.items;
}

std::optional<SoundServerInfo> SoundServer::Link::info(SoundDeadline until) {
    std::optional<SoundServerInfo> answer;
    const auto store = [](pa_context *, const pa_server_info *info, void *user) {
        if (info)
            *static_cast<std::optional<SoundServerInfo> *>(user) = {QString(info->server_name).contains("PipeWire"),
                                                                    info->default_sink_name, info->default_source_name};
    };
    if (!done(until, [&](pa_context *context) { return pa_context_get_server_info(context, store, &answer); }))
        return std::nullopt;
    return answer;
}

std::optional<QList<SoundSource>> SoundServer::Link::sources(SoundDeadline until) {
    return listed<SoundSource>(until, [](pa_context *context, void *listing) {
        return pa_context_get_source_info_list(context, Listing<SoundSource>::append<pa_source_info>, listing);
    });
}

std::optional<QList<SoundSink>> SoundServer::Link::sinks(SoundDeadline until) {
    return listed<SoundSink>(until, [](pa_context *context, void *listing) {
        return pa_context_get_sink_info_list(context, Listing<SoundSink>::append<pa_sink_info>, listing);
    });
}

std::optional<QList<SoundModule>> SoundServer::Link::modules(SoundDeadline until) {
    return listed<SoundModule>(until, [](pa_context *context, void *listing) {
        return pa_context_get_module_info_list(context, Listing<SoundModule>::append<pa_module_info>, listing);
    });
}

std::optional<QList<SoundSourceOutput>> SoundServer::Link::sourceOutputs(SoundDeadline until) {
    return listed<SoundSourceOutput>(until, [](pa_context *context, void *listing) {
        return pa_context_get_source_output_info_list(
            context, Listing<SoundSourceOutput>::append<pa_source_output_info>, listing);
    });
}

std::optional<SoundSink> SoundServer::Link::defaultSink(SoundDeadline until) {
    const auto server = info(until);
    const auto all = server ? sinks(until) : std::nullopt;
    if (!all)
        return std::nullopt;
    for (const SoundSink &sink : *all)
        if (sink.name == server->defaultSinkName)
            return sink;
    return std::nullopt;
}

std::optional<QList<PlayedStream>> SoundServer::Link::playedStreams(SoundDeadline until) {
    const auto sink = defaultSink(until);
    auto streams = !sink ? std::nullopt : listed<PlayedStream>(until, [](pa_context *context, void *listing) {
        return pa_context_get_sink_input_info_list(context, Listing<PlayedStream>::append<pa_sink_input_info>, listing);
    });
    if (streams)
        streams->removeIf([&sink](const PlayedStream &stream) { return stream.sinkIndex != sink->index; });
    return streams;
}

std::optional<uint32_t> SoundServer::Link::loadModule(const QString &name, const QString &argument,
                                                      SoundDeadline until) {
    uint32_t index = PA_INVALID_INDEX;
    const auto store = [](pa_context *, uint32_t loaded, void *user) { *static_cast<uint32_t *>(user) = loaded; };
    const bool isDone = done(until, [&](pa_context *context) {
        return pa_context_load_module(context, name.toUtf8().constData(), argument.toUtf8().constData(), store, &index);
    });
    if (!isDone || index == PA_INVALID_INDEX) {
        logLine(QString("The sound server did not load %1 %2").arg(name, argument));
        return std::nullopt;
    }
    return index;
}

bool SoundServer::Link::unloadModule(uint32_t index, SoundDeadline until) {
    bool success = false;
    const auto unload = [&](pa_context *context) {
        return pa_context_unload_module(context, index, storeSuccess, &success);
    };
    return done(until, unload) && success;
}

bool SoundServer::Link::moveSourceOutput(uint32_t index, const QString &sourceName, SoundDeadline until) {
    bool success = false;
    const auto move = [&](pa_context *context) {
        return pa_context_move_source_output_by_name(context, index, sourceName.toUtf8().constData(), storeSuccess,
                                                     &success);
    };
    return done(until, move) && success;
}

void SoundServer::Link::connectionReady() {
    pa_context *context = connection_.context();
    pa_context_set_subscribe_callback(
        context,
        [](pa_context *, pa_subscription_event_type_t event, uint32_t, void *user) {
            static_cast<Link *>(user)->changed(event);
        },
        this);
    const auto mask =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK |
                                            PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT);
    if (pa_operation *subscription = pa_context_subscribe(context, mask, nullptr, nullptr))
        pa_operation_unref(subscription);
    askToFollow(/*haveDevicesChanged=*/true);
}

void SoundServer::Link::connectionLost() { askToFollow(/*haveDevicesChanged=*/true); }

void SoundServer::Link::changed(pa_subscription_event_type_t event) {
    const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool isChange = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
    // Volumes and states of devices change all the time and matter to nobody here.
    if (isChange && (facility == PA_SUBSCRIPTION_EVENT_SINK || facility == PA_SUBSCRIPTION_EVENT_SOURCE))
        return;
    ++changes_;
    connection_.wakeWaiting();
    askToFollow(/*haveDevicesChanged=*/facility == PA_SUBSCRIPTION_EVENT_SOURCE);
}

uint64_t SoundServer::Link::changes() {
    const PulseConnection::Lock lock(connection_);
    return changes_;
}

bool SoundServer::Link::waitForChange(uint64_t since, SoundDeadline until) {
    const PulseConnection::Lock lock(connection_);
    return connection_.waitFor(until, [&] { return changes_ != since; });
}

void SoundServer::Link::askToFollow(bool haveDevicesChanged) {
    {
        const std::lock_guard guard(following_);
        isFollowAsked_ = true;
        haveDevicesChanged_ = haveDevicesChanged_ || haveDevicesChanged;
    }
    followNow_.notify_one();
}

void SoundServer::Link::follow(std::optional<RemappedSource> source) {
    {
        const std::lock_guard guard(following_);
        followed_ = std::move(source);
        isFollowAsked_ = true;
    }
    followNow_.notify_one();
}

// "Sound-Follow".
void SoundServer::Link::followLoop() {
    pthread_setname_np(pthread_self(), "Sound-Follow");
    std::unique_lock guard(following_);
    for (;;) {
        followNow_.wait(guard, [this] { return isEnding_ || isFollowAsked_; });
        if (isEnding_)
            return;
        isFollowAsked_ = false;
        const bool haveDevicesChanged = std::exchange(haveDevicesChanged_, false);
        guard.unlock();
        pointFollowed();
        QList<SoundSource> devices;
        if (haveDevicesChanged)
            devices = sources(soundDeadline()).value_or(QList<SoundSource>());
        guard.lock();
        if (haveDevicesChanged) {
            devices_ = std::move(devices);
            devicesWake_.signal();
        }
    }
}

void SoundServer::Link::pointFollowed() {
    // Read under the lock: who ends the following and then removes the source does not find it made again.
    const std::lock_guard pointing(pointing_);
    std::unique_lock guard(following_);
    const auto source = followed_;
    guard.unlock();
    // A failure needs no answer here: whatever mends it is an event, which leads here again.
    if (source)
        pointLocked(*source, soundDeadline());
}

void SoundServer::Link::tellDevices() {
    std::unique_lock guard(following_);
    const QList<SoundSource> devices = devices_;
    guard.unlock();
    if (inputDevicesChanged_)
        inputDevicesChanged_(devices);
}
