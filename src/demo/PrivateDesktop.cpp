#include "demo/PrivateDesktop.h"

#include <csignal>
#include <sys/prctl.h>

void endWithParent(QProcess &process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

PrivateDesktop::PrivateDesktop(const QString &folder, const QSize &size) : folder_(folder), size_(size) {}

PrivateDesktop::~PrivateDesktop() {
    for (auto process = processes_.rbegin(); process != processes_.rend(); ++process) {
        (*process)->terminate();
        if (!(*process)->waitForFinished(5000))
            (*process)->kill();
        (*process)->waitForFinished();
    }
}

bool PrivateDesktop::start() {
    // On a desktop of another kind the program would choose that, and show itself to the user.
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QString screen = QStringLiteral("%1x%2x24").arg(size_.width()).arg(size_.height());
    // Both tell on their standard output how they can be reached.
    return launch(
               "dbus-daemon",
               {"--session", "--nofork", "--nosyslog", "--print-address=1", "--address=unix:path=" + folder_ + "/bus"},
               "DBUS_SESSION_BUS_ADDRESS", {}) &&
           launch("Xvfb", {"-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"}, "DISPLAY", ":");
}

bool PrivateDesktop::launch(const QString &program, const QStringList &arguments, const char *variable,
                            const QByteArray &before) {
    auto process = std::make_unique<QProcess>();
    endWithParent(*process);
    process->start(program, arguments);
    while (!process->canReadLine())
        if (!process->waitForReadyRead(10'000)) {
            errorText_ = program + " did not come up: " + process->errorString() + process->readAllStandardError();
            return false;
        }
    qputenv(variable, before + process->readLine().trimmed());
    processes_.push_back(std::move(process));
    return true;
}

bool PrivateDesktop::screenshot(const QString &pngPath) {
    return QProcess::execute("import", {"-window", "root", pngPath}) == 0;
}
