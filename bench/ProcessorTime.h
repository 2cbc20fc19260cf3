#pragma once

#include <QDir>
#include <QFile>
#include <ctime>
#include <map>

/// Seconds of processor time of all threads of a process so far, of ended ones too.
inline double cpuSeconds(qint64 process) {
    clockid_t clock{};
    timespec spent{};
    if (clock_getcpuclockid(static_cast<pid_t>(process), &clock) != 0 || clock_gettime(clock, &spent) != 0)
        return 0;
    return static_cast<double>(spent.tv_sec) + static_cast<double>(spent.tv_nsec) * 1e-9;
}

/// Seconds of processor time by the thread's name.
inline std::map<QByteArray, double> cpuSecondsByThread(qint64 process) {
    const auto contents = [](const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    std::map<QByteArray, double> seconds;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(process);
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        seconds[contents(tasks + task + "/comm").trimmed()] +=
            contents(tasks + task + "/schedstat").split(' ').first().toDouble() * 1e-9;
    return seconds;
}
