#pragma once

#include <QFile>

/// A line of the status of a process, such as "VmSize:"; 0 when it is gone.
inline double statusMebibytes(qint64 process, const QByteArray &name) {
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray all = status.readAll();
    return all.mid(all.indexOf(name) + name.size()).trimmed().split(' ').first().toDouble() / 1024;
}

/// What a process holds of the memory.
inline double residentMebibytes(qint64 process) { return statusMebibytes(process, "VmRSS:"); }
