#include "platform/run/ProcessList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace {
QByteArray contentsOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool hasOurHome(const QString &folder) {
    const QByteArray home = "HOME=" + qgetenv("HOME");
    return contentsOf(folder + "/environ").split('\0').contains(home);
}

/// The state letter stands behind the name, which is in parentheses and may hold any character.
bool isStoppedState(const QByteArray &stat) {
    const qsizetype name = stat.lastIndexOf(')');
    const char state = name >= 0 && name + 2 < stat.size() ? stat[name + 2] : '?';
    return state == 'T' || state == 't';
}
} // namespace

QList<ProcessEntry> GetBSDProcessList() {
    QList<ProcessEntry> processes;
    for (const QString &name : QDir("/proc").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isNumber = false;
        const pid_t pid = name.toInt(&isNumber);
        const QString folder = "/proc/" + name;
        if (!isNumber || QFileInfo(folder).ownerId() != getuid() || !hasOurHome(folder))
            continue;
        const QByteArray comm = contentsOf(folder + "/comm").trimmed();
        if (!comm.isEmpty())
            processes.append({pid, comm, isStoppedState(contentsOf(folder + "/stat"))});
    }
    return processes;
}

QByteArray ottieniNome(const ProcessEntry &process) {
    return process.isStopped ? process.p_comm + " #stopped#" : process.p_comm;
}
