// Start of the program.

#include "app/CorvidiaAppDelegate.h"
#include "platform/desktop/Panel.h"
#include "platform/run/MainThread.h"
#include "platform/run/TerminationSignals.h"
#include "platform/sound/PulseInputUnit.h"
#include "views/dialogs/PanelDialog.h"

#include <QApplication>
#include <QIcon>

extern "C" {
#include <libavutil/log.h>
}

namespace {

constexpr std::chrono::seconds kPatienceAtEnd(3);

/// Ends when everything is saved and closed.
int run(QApplication &application) {
    CorvidiaAppDelegate delegate(pulseInputUnitFactory());
    onTerminationSignal([&delegate] { delegate.terminateNow(); });
    QObject::connect(&application, &QApplication::commitDataRequest, &delegate,
                     [&delegate] { delegate.terminateNow(); });
    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("Corvidia");
    QApplication::setApplicationVersion(CORVIDIA_VERSION);
    QApplication::setApplicationDisplayName("Tessarine Corvidia");
    QApplication::setDesktopFileName("com.tessarine.Corvidia");
    QApplication::setWindowIcon(QIcon(":/images/icon.svg"));
    // Closing the window hides it; recording goes on.
    QApplication::setQuitOnLastWindowClosed(false);
    av_log_set_level(AV_LOG_ERROR);
    setPanelAnswerer([](const Panel &panel) { return answerWithDialog(QApplication::activeWindow(), panel); });

    if (!CorvidiaAppDelegate::initialize()) {
        SessionBus::activateOtherCopy();
        // The message leaves with the event loop.
        performAfterDelay(/*seconds=*/0, &application, [] { QApplication::quit(); });
        QApplication::exec();
        return 0;
    }
    const int status = run(application);
    endProcessWithin(kPatienceAtEnd, status);
    return status;
}
