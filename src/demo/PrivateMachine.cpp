#include "demo/PrivateMachine.h"

#include "capture/CaptureDevice.h"

PrivateMachine::PrivateMachine(PrivateSoundServer::Kind kind, const QSize &display)
    : folder_(QStringLiteral("/tmp/corvidia-XXXXXX")),
      sound_(kind, folder_.filePath("sound")),
      desktop_(folder_.path(), display) {}

QString PrivateMachine::start() {
    if (!sound_.start())
        return "the sound server did not come up: " + sound_.errorText();
    if (!desktop_.start())
        return desktop_.errorText();
    return installAudioDevice(kCaptureDriverName) ? QString() : "the capture device could not be installed";
}
