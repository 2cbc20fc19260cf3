// The inside of SoundServer: questions to the server with one deadline for a row of them.
//
// Threads: questions and doings from any thread but the connection's own. What an event leads to is done by
// "Sound-Follow", which may wait for a server that hangs; the main thread gets the result.
#pragma once

#include "platform/run/MainThread.h"
#include "platform/sound/PulseConnection.h"
#include "platform/sound/SoundServer.h"

#include <condition_variable>
#include <mutex>
#include <thread>

/// Where a stream that records comes from.
struct SoundSourceOutput {
    uint32_t index = 0;
    uint32_t ownerModule = 0;
    uint32_t sourceIndex = 0;
};

class SoundServer::Link final : PulseConnectionClient {
public:
    Link();
    ~Link();

    std::optional<SoundServerInfo> info(SoundDeadline until);
    std::optional<QList<SoundSource>> sources(SoundDeadline until);
    std::optional<QList<SoundSink>> sinks(SoundDeadline until);
    std::optional<SoundSink> defaultSink(SoundDeadline until);
    std::optional<QList<PlayedStream>> playedStreams(SoundDeadline until);
    std::optional<QList<SoundModule>> modules(SoundDeadline until);
    std::optional<QList<SoundSourceOutput>> sourceOutputs(SoundDeadline until);
    std::optional<uint32_t> loadModule(const QString &name, const QString &argument, SoundDeadline until);
    bool unloadModule(uint32_t index, SoundDeadline until);
    bool moveSourceOutput(uint32_t index, const QString &sourceName, SoundDeadline until);

    bool point(const RemappedSource &source, SoundDeadline until);
    bool isPointed(const RemappedSource &source, SoundDeadline until);
    bool remove(const RemappedSource &source, SoundDeadline until);

    void follow(std::optional<RemappedSource> source);

    std::function<void(const QList<SoundSource> &)> inputDevicesChanged_; // main thread

private:
    struct Placement;

    void connectionReady() override;
    void connectionLost() override;
    void changed(pa_subscription_event_type_t event);
    void askToFollow(bool haveDevicesChanged);
    void followLoop();
    void pointFollowed();
    void tellDevices();
    bool pointLocked(const RemappedSource &source, SoundDeadline until);
    std::optional<Placement> placement(const RemappedSource &source, SoundDeadline until);
    uint64_t changes();
    bool waitForChange(uint64_t since, SoundDeadline until);

    template <class Ask>
    bool done(SoundDeadline until, Ask ask);
    template <class Item, class Ask>
    std::optional<QList<Item>> listed(SoundDeadline until, Ask ask);

    std::mutex pointing_; // held over a whole look and change, so that two threads do not make two sources

    std::mutex following_; // guards what is named up to devices_
    std::condition_variable followNow_;
    std::optional<RemappedSource> followed_;
    bool isFollowAsked_ = false;
    bool haveDevicesChanged_ = false;
    bool isEnding_ = false;
    QList<SoundSource> devices_; // as the follower saw them last

    uint64_t changes_ = 0; // events so far, under the connection's lock
    MainThreadWakeup devicesWake_;
    PulseConnection connection_;
    std::thread follower_;
};
