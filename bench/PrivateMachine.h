// A home folder, a sound server and a display of one's own, for benchmarks of the whole program.
//
// Threads: one, which must live as long as the machine.
#pragma once

#include "demo/PrivateDesktop.h"
#include "demo/PrivateSoundServer.h"

#include <QTemporaryDir>

class PrivateMachine {
public:
    explicit PrivateMachine(PrivateSoundServer::Kind kind);

    /// Brings everything up and installs the capture device. What went wrong, null when nothing did.
    [[nodiscard]] QString start();

    QString filePath(const QString &name) const { return folder_.filePath(name); }
    PrivateSoundServer &server() { return server_; }

private:
    QTemporaryDir folder_;
    PrivateSoundServer server_;
    PrivateDesktop desktop_;
};

/// What a process holds of the memory, 0 when it is gone.
double residentMebibytes(qint64 process);
