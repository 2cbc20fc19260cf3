#include "platform/desktop/SoundingProcesses.h"

#include "platform/sound/SoundServer.h"

#include <QFile>

namespace {

/// 0 when there is none, or no such process.
pid_t parentOf(pid_t process) {
    QFile status(QStringLiteral("/proc/%1/stat").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    // Behind the name, which may hold anything, come the state and the parent.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.value(1).toInt();
}

} // namespace

std::optional<QSet<pid_t>> soundingProcesses() {
    const auto streams = SoundServer::defaultServer().playedStreams();
    if (!streams)
        return std::nullopt;
    QSet<pid_t> processes;
    for (const PlayedStream &stream : *streams) {
        if (!stream.isHeard)
            continue;
        for (auto process = static_cast<pid_t>(stream.processID); process > 1; process = parentOf(process)) {
            if (processes.contains(process))
                break;
            processes.insert(process);
        }
    }
    return processes;
}
