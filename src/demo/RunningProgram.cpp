#include "demo/RunningProgram.h"

#include "demo/PrivateDesktop.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

namespace {
constexpr const char *kService = "com.tessarine.Corvidia";
constexpr const char *kConnection = "running-program";
constexpr int kPatienceMilliseconds = 20'000;
} // namespace

bool waitUntil(const std::function<bool()> &condition, int milliseconds) {
    QElapsedTimer timer;
    for (timer.start(); !condition(); QThread::msleep(5)) {
        if (timer.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents();
    }
    return true;
}

RunningProgram::RunningProgram(const QString &program, const QString &logPath)
    : logPath_(logPath),
      bus_(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), kConnection)) {
    endWithParent(process_);
    process_.setProgram(program);
    process_.setStandardErrorFile(logPath);
    process_.start();
}

RunningProgram::~RunningProgram() {
    process_.kill();
    process_.waitForFinished();
    QDBusConnection::disconnectFromBus(kConnection);
}

bool RunningProgram::isReady() {
    return process_.waitForStarted() &&
           waitUntil([this] { return bus_.interface()->isServiceRegistered(kService).value(); });
}

bool RunningProgram::activateAction(const QString &name) {
    QDBusMessage call = QDBusMessage::createMethodCall(kService, "/com/tessarine/Corvidia",
                                                       "org.freedesktop.Application", "ActivateAction");
    call << name << QVariantList() << QVariantMap();
    return bus_.call(call).type() == QDBusMessage::ReplyMessage;
}

bool RunningProgram::startRecording() {
    // The unit that feeds the display must be up first: it is taken down for the recording, and starts anew.
    return hearsSound(1) && activateAction("record") && hearsSound(2);
}

bool RunningProgram::hearsSound(int times) const {
    return waitUntil([&] { return count(kFirstSlice) >= times; });
}

qsizetype RunningProgram::count(const QByteArray &line) const {
    QFile log(logPath_);
    return log.open(QIODevice::ReadOnly) ? log.readAll().count(line) : 0;
}

bool RunningProgram::endsWell() {
    return process_.waitForFinished(kPatienceMilliseconds) && process_.exitStatus() == QProcess::NormalExit &&
           process_.exitCode() == 0;
}
