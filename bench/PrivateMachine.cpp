#include "PrivateMachine.h"

#include "capture/CaptureDevice.h"

#include <QFile>

PrivateMachine::PrivateMachine(PrivateSoundServer::Kind kind)
    : folder_("/tmp/corvidia-XXXXXX"), // sockets need short paths
      server_(kind, folder_.filePath("sound")),
      desktop_(folder_.path()) {
    qputenv("HOME", folder_.path().toUtf8());
}

QString PrivateMachine::start() {
    if (!server_.start())
        return server_.errorText();
    if (!desktop_.start())
        return desktop_.errorText();
    return installAudioDevice(kCaptureDriverName) ? QString() : "the capture device could not be installed";
}

double residentMebibytes(qint64 process) {
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray all = status.readAll();
    return all.mid(all.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toDouble() / 1024;
}
