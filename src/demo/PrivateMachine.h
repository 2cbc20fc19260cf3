// All that the program needs around it, and nothing of the user's: a sound server, a display, a session bus.
//
// Threads: one, which must live as long as the machine.
#pragma once

#include "demo/PrivateDesktop.h"
#include "demo/PrivateSoundServer.h"

#include <QTemporaryDir>

/// The home folder is the caller's: HOME is to be set before.
class PrivateMachine {
public:
    explicit PrivateMachine(PrivateSoundServer::Kind kind, const QSize &display = PrivateDesktop::kSize);

    /// Brings everything up and installs the capture device. The answer is what went wrong, null when nothing did.
    QString start();

    /// For what need not stay.
    QString filePath(const QString &name) const { return folder_.filePath(name); }
    PrivateSoundServer &sound() { return sound_; }
    PrivateDesktop &desktop() { return desktop_; }

private:
    QTemporaryDir folder_; // sockets need short paths; nothing that stays is in here
    PrivateSoundServer sound_;
    PrivateDesktop desktop_;
};
