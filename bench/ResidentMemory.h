#pragma once

#include <QFile>

/// What a process holds of the memory, 0 when it is gone.
inline double residentMebibytes(qint64 process) {
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray all = status.readAll();
    return all.mid(all.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toDouble() / 1024;
}
