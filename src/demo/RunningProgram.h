// The real program in a process of its own, driven over its session bus.
//
// Threads: one, which must live as long as the program: the program ends with the thread that started it.
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <functional>

class RunningProgram {
public:
    /// The line that the program logs when the capture device has begun to deliver.
    static constexpr const char *kFirstSlice = "sound arrives from the capture device";

    /// Starts `program`, whose log goes to `logPath`, on the session bus of the environment.
    RunningProgram(const QString &program, const QString &logPath);
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    /// The program answers on the bus. False after twenty seconds, as with everything that waits here.
    bool isReady();
    bool activateAction(const QString &name);
    /// The capture device has begun to deliver so many times.
    bool hearsSound(int times) const;
    /// Starts a recording and waits until it hears sound, be it silent. To be called once, as the first thing.
    bool startRecording();
    /// How often `line` stands in the log.
    qsizetype count(const QByteArray &line) const;
    /// The program ends by itself, and without an error.
    bool endsWell();
    qint64 processId() const { return process_.processId(); }

private:
    QString logPath_;
    QDBusConnection bus_;
    QProcess process_;
};

/// Lets the event loop run and looks until `condition` holds; false after so long.
bool waitUntil(const std::function<bool()> &condition, int milliseconds = 20'000);
