// What the program asks of the sound server, and what it has the server do. PulseAudio and PipeWire alike.
//
// Threads: the main thread, unless a function says otherwise. Two more are at work inside: the connection's, and
// "Sound-Follow", which keeps a remapped source on the default output while the main thread may be busy.
#pragma once

#include <QList>
#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

/// A device that can be recorded from.
struct SoundSource {
    uint32_t index = 0;
    QString name;
    QString description;
    bool isMonitor = false;
    int channels = 0;
};

/// An output, and the source that hears what it plays.
struct SoundSink {
    uint32_t index = 0;
    QString name;
    QString description;
    uint32_t monitorIndex = 0;
    QString monitorName;
};

struct SoundModule {
    uint32_t index = 0;
    QString name;
    QString argument;
};

/// What a program plays into an output.
struct PlayedStream {
    uint32_t sinkIndex = 0;
    qint64 processID = 0; ///< as its program told it; 0 when it didn't
    bool isHeard = false; ///< it is neither paused nor muted
};

struct SoundServerInfo {
    bool isPipeWire = false;
    QString defaultSinkName;   ///< empty when there is no output
    QString defaultSourceName; ///< empty when there is no input
};

/// A source of ours that passes on what an output plays.
struct RemappedSource {
    QString name;        ///< letters, digits and underscores
    QString description; ///< what the user sees; without quotes

    /// The name of the module that makes such a source, on both servers.
    static constexpr const char *kModule = "module-remap-source";
    /// That module's argument, for the sound of the monitor `monitorName`.
    QString moduleArgument(const QString &monitorName) const;
    bool isMadeBy(const SoundModule &module) const;
};

/// Connects when first asked, and again by itself after a loss. Every question is answered within two seconds: with
/// nothing (or false) when there is no server, when it refuses, or when it hangs, which is logged. Pointing and
/// removing a source may first have to wait as long for "Sound-Follow".
class SoundServer {
public:
    /// The one that the program uses. It needs the application object.
    static SoundServer &defaultServer();

    SoundServer();
    ~SoundServer();
    SoundServer(const SoundServer &) = delete;
    SoundServer &operator=(const SoundServer &) = delete;

    std::optional<SoundServerInfo> info();
    std::optional<QList<SoundSource>> sources();
    std::optional<QList<SoundSink>> sinks();
    /// The output that is the default now.
    std::optional<SoundSink> defaultSink();
    /// What is played into the output that is the default now. Any thread.
    std::optional<QList<PlayedStream>> playedStreams();

    /// Sees to it that there is one source of that name and that it passes on the default output: makes it, or moves
    /// it without interrupting who records from it, or finds it right. False when that was not to be had.
    bool pointRemappedSource(const RemappedSource &source);
    /// The source stands and passes on the default output.
    bool isRemappedSourcePointed(const RemappedSource &source);
    /// Takes every source that module-remap-source made under that name away. True when none is left.
    bool removeRemappedSource(const RemappedSource &source);

    /// From now on, on a thread of its own: points `source` again whenever the default output changes, the source
    /// vanishes, somebody moves it, or the server was restarted. Nothing ends that.
    void followDefaultSink(std::optional<RemappedSource> source);

    /// Called on the main thread after an input device came or went, the server's coming and going included, with the
    /// input devices that there are now; none when there is no server.
    void setInputDevicesChanged(std::function<void(const QList<SoundSource> &devices)> inputDevicesChanged);

private:
    class Link;
    std::unique_ptr<Link> link_;
};
