#include "demo/PrivateSoundServer.h"

#include <QByteArrayList>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr qint64 kStartMilliseconds = 10'000;

/// Starts `command`, which ends with this thread at the latest. Its output goes to `descriptor`.
pid_t spawn(const QStringList &command, int descriptor) {
    QByteArrayList words;
    for (const QString &word : command)
        words.append(word.toLocal8Bit());
    std::vector<char *> pointers;
    pointers.reserve(static_cast<size_t>(words.size()) + 1);
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0)
        return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(127);
    dup2(descriptor, STDOUT_FILENO);
    dup2(descriptor, STDERR_FILENO);
    execvp(pointers[0], pointers.data());
    _exit(127);
}

void endProcess(pid_t process) {
    ::kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

bool writeFile(const QString &path, const QString &content) {
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content.toUtf8()) >= 0;
}

} // namespace

PrivateSoundServer::PrivateSoundServer(Kind kind, const QString &folder, int sampleRate)
    : kind_(kind), folder_(folder), sampleRate_(sampleRate) {
    QDir().mkpath(folder_ + "/run/pulse");
    QDir().mkpath(folder_ + "/state");
    for (const QString &inner : {folder_, folder_ + "/run", folder_ + "/run/pulse"})
        QFile::setPermissions(inner, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const char *variable : {"PULSE_SINK", "PULSE_SOURCE", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "XDG_DATA_HOME"})
        qunsetenv(variable);
    const auto set = [&](const char *variable, const QString &value) { qputenv(variable, value.toLocal8Bit()); };
    set("XDG_RUNTIME_DIR", folder_ + "/run");
    set("PIPEWIRE_RUNTIME_DIR", folder_ + "/run");
    set("PULSE_RUNTIME_PATH", folder_ + "/run/pulse");
    set("PULSE_STATE_PATH", folder_ + "/state");
    set("PULSE_SERVER", "unix:" + folder_ + "/run/pulse/native");
    set("PULSE_COOKIE", folder_ + "/cookie");
    set("XDG_STATE_HOME", folder_ + "/state");
    set("XDG_CONFIG_HOME", folder_ + "/config");
    writeConfiguration();
}

PrivateSoundServer::~PrivateSoundServer() { kill(); }

void PrivateSoundServer::writeConfiguration() const {
    if (kind_ == Kind::PulseAudio) {
        writeFile(folder_ + "/daemon.pa",
                  QString(".fail\n"
                          "load-module module-native-protocol-unix auth-anonymous=1 auth-cookie-enabled=0 "
                          "socket=%1/run/pulse/native\n"
                          "load-module module-null-sink sink_name=%2 rate=%3 channels=2 "
                          "channel_map=front-left,front-right sink_properties=device.description=VirtualSpeakers\n"
                          "set-default-sink %2\n"
                          ".nofail\n"
                          "load-module module-always-sink\n")
                      .arg(folder_, kSink)
                      .arg(sampleRate_));
        return;
    }
    writeFile(folder_ + "/config/pipewire/pipewire.conf.d/10-private.conf",
              QString("context.properties = {\n"
                      "  default.clock.rate = %2\n"
                      "  default.clock.allowed-rates = [ %2 ]\n"
                      // Cycles that the machine was too late for follow each other at once, and what isn't done by the
                      // next is lost: so they are as long as they may be.
                      "  default.clock.quantum = 8192\n"
                      "  default.clock.min-quantum = 8192\n"
                      "  default.clock.max-quantum = 8192\n"
                      "  module.x11.bell = false\n"
                      "}\n"
                      "context.objects = [\n"
                      "  { factory = adapter\n"
                      "    args = { factory.name = support.null-audio-sink node.name = %1\n"
                      "             node.description = \"VirtualSpeakers\" media.class = Audio/Sink\n"
                      "             object.linger = true audio.position = [ FL FR ] audio.rate = %2\n"
                      "             monitor.channel-volumes = true priority.session = 2000 } }\n"
                      "]\n")
                  .arg(kSink)
                  .arg(sampleRate_));
    writeFile(folder_ + "/config/wireplumber/main.lua.d/51-private.lua",
              "alsa_monitor.enabled = false\n"
              "v4l2_monitor.enabled = false\n"
              "libcamera_monitor.enabled = false\n"
              "default_access.properties[\"enable-flatpak-portal\"] = false\n");
    writeFile(folder_ + "/config/wireplumber/bluetooth.lua.d/51-private.lua", "bluez_monitor.enabled = false\n");
}

void PrivateSoundServer::launch(const QStringList &command) {
    const QByteArray log = (folder_ + "/" + command.first() + ".log").toLocal8Bit();
    const int descriptor = open(log.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    processes_.push_back(spawn(command, descriptor));
    close(descriptor);
}

bool PrivateSoundServer::start() {
    QElapsedTimer clock;
    clock.start();
    const auto waitUntil = [&](auto isReady) {
        while (!isReady()) {
            if (!isAlive() || clock.elapsed() > kStartMilliseconds)
                return false;
            QThread::msleep(10);
        }
        return true;
    };
    errorText_ = "the sound server did not start; its output is in " + folder_;
    if (kind_ == Kind::PulseAudio) {
        launch({"pulseaudio", "-n", "-F", folder_ + "/daemon.pa", "--daemonize=no", "--use-pid-file=no",
                "--exit-idle-time=-1", "--disallow-exit=no", "--realtime=no", "--high-priority=no",
                "--log-target=stderr", "--log-level=notice"});
    } else {
        launch({"pipewire"});
        if (!waitUntil([&] { return QFile::exists(folder_ + "/run/pipewire-0"); }))
            return false;
        launch({"wireplumber"});
        launch({"pipewire-pulse"});
    }
    // PipeWire takes a default output only once the session manager is up, and links nothing before.
    if (!waitUntil([&] { return setDefaultSink(kSink); }))
        return false;
    errorText_.clear();
    return true;
}

void PrivateSoundServer::kill() {
    if (microphone_ > 0)
        endProcess(microphone_);
    microphone_ = 0;
    while (!processes_.empty()) {
        endProcess(processes_.back());
        processes_.pop_back();
    }
    for (const char *socket : {"pulse/native", "pulse/pid", "pipewire-0", "pipewire-0.lock"})
        QFile::remove(folder_ + "/run/" + socket);
}

void PrivateSoundServer::suspend() { signalAll(SIGSTOP); }

void PrivateSoundServer::resume() { signalAll(SIGCONT); }

void PrivateSoundServer::signalAll(int signal) {
    for (const pid_t process : processes_)
        ::kill(process, signal);
}

bool PrivateSoundServer::isAlive() {
    for (const pid_t process : processes_) {
        siginfo_t state{};
        if (waitid(P_PID, static_cast<id_t>(process), &state, WEXITED | WNOHANG | WNOWAIT) != 0 || state.si_pid != 0)
            return false;
    }
    return true;
}

bool PrivateSoundServer::addSink(const QString &name) {
    return !control({"load-module", "module-null-sink", "sink_name=" + name, QString("rate=%1").arg(sampleRate_),
                     "channels=2", "channel_map=front-left,front-right"})
                .isNull();
}

bool PrivateSoundServer::setDefaultSink(const QString &name) {
    return !control({"set-default-sink", name}).isNull() && control({"get-default-sink"}).trimmed() == name.toUtf8();
}

bool PrivateSoundServer::addMicrophone() {
    const QString pipe = folder_ + "/microphone";
    QFile::remove(pipe);
    if (control({"load-module", "module-pipe-source", "source_name=microphone", "file=" + pipe, "format=s16le",
                 QString("rate=%1").arg(sampleRate_), "channels=2"})
            .isNull())
        return false;
    const int descriptor = open(pipe.toLocal8Bit().constData(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    microphone_ = spawn({"sh", "-c", "exec tr '\\0' X < /dev/zero"}, descriptor);
    close(descriptor);
    return !control({"set-default-source", "microphone"}).isNull();
}

bool PrivateSoundServer::play(const QString &wavPath, const QString &sink) {
    return run({"paplay", "--device=" + sink, wavPath}, /*output=*/nullptr) == 0;
}

std::vector<float> PrivateSoundServer::listen(size_t frames) {
    QByteArray bytes;
    const size_t size = frames * sizeof(float);
    run({"parec", "--raw", "--format=float32le", "--rate=44100", "--channels=1", "--latency-msec=20",
         QStringLiteral("--device=%1.monitor").arg(kSink)},
        &bytes, static_cast<qsizetype>(size));
    std::vector<float> samples(std::min(frames, static_cast<size_t>(bytes.size()) / sizeof(float)));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    return samples;
}

QByteArray PrivateSoundServer::control(const QStringList &arguments) {
    QByteArray output("");
    return run(QStringList("pactl") + arguments, &output) == 0 ? output : QByteArray();
}

// A command that has written enough is ended.
int PrivateSoundServer::run(const QStringList &command, QByteArray *output, qsizetype enoughBytes) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    const pid_t process = spawn(command, ends[1]);
    close(ends[1]);
    char buffer[4096];
    for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;) {
        if (output)
            output->append(buffer, got);
        if (output && enoughBytes >= 0 && output->size() >= enoughBytes)
            ::kill(process, SIGKILL);
    }
    close(ends[0]);
    int status = -1;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
