// A sound server of one's own: PulseAudio, or PipeWire with wireplumber and its PulseAudio side, without sound cards.
// It never meets the user's: sockets, configuration and state stand in a folder that the caller gives.
//
// Threads: one, which must live as long as the server: the server ends with the thread that started it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <sys/types.h>
#include <vector>

class PrivateSoundServer {
public:
    enum class Kind { PulseAudio, PipeWire };

    /// The default output of every server: a null sink, silent until something plays.
    static constexpr const char *kSink = "vspk";

    /// Sets the environment so that this process and its children find the server, and so that the folder of the
    /// configuration, the user's as the program sees it, is `folder`/config. `sampleRate` in hertz.
    PrivateSoundServer(Kind kind, const QString &folder, int sampleRate = 44100);
    ~PrivateSoundServer();
    PrivateSoundServer(const PrivateSoundServer &) = delete;
    PrivateSoundServer &operator=(const PrivateSoundServer &) = delete;

    /// Starts the server and waits until it plays; false after ten seconds, or when it died: see errorText().
    [[nodiscard]] bool start();
    /// Kills it without warning. start() brings it up again, without what was loaded since.
    void kill();
    /// Stops all its processes where they stand, and lets them go on.
    void suspend();
    void resume();

    /// A further null sink.
    [[nodiscard]] bool addSink(const QString &name);
    [[nodiscard]] bool setDefaultSink(const QString &name);
    /// A microphone that never falls silent, made the default input; every sample of it is kMicrophoneSample / 32768.
    [[nodiscard]] bool addMicrophone();
    static constexpr int kMicrophoneSample = 0x5858;

    /// Plays a WAV file into `sink` and waits for its end. Exact, where the file has the sink's rate and 16 bits.
    [[nodiscard]] bool play(const QString &wavPath, const QString &sink = kSink);
    /// What the default output plays from now on: so many frames at 44100 Hz, both channels as one. Fewer when the
    /// server ends.
    std::vector<float> listen(size_t frames);
    /// pactl with `arguments`: what it wrote; null when it failed.
    QByteArray control(const QStringList &arguments);

    /// Its processes, the microphone's aside.
    const std::vector<pid_t> &processes() const { return processes_; }
    const QString &errorText() const { return errorText_; }

private:
    void writeConfiguration() const;
    void launch(const QStringList &command);
    bool isAlive();
    void signalAll(int signal);
    int run(const QStringList &command, QByteArray *output, qsizetype enoughBytes = -1);

    const Kind kind_;
    const QString folder_;
    const int sampleRate_;
    std::vector<pid_t> processes_; // in the order of their start
    pid_t microphone_ = 0;
    QString errorText_;
};
