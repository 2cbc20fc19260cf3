#include "PrivateMachine.h"

#include "capture/CaptureDevice.h"

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
