// The program as a process among others.
#include "app/CorvidiaAppDelegate.h"

#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"
#include "support/MadeAudio.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <csignal>
#include <gtest/gtest.h>

namespace {
/// The program is up once it takes SIGTERM for an event.
bool catchesTermination(const QProcess &process) {
    const QString status = QString::fromStdString(bytesOf(QString("/proc/%1/status").arg(process.processId())));
    return status.section("SigCgt:", 1).section('\n', 0, 0).trimmed().toULongLong(nullptr, 16) >> (SIGTERM - 1) & 1;
}

/// A copy of /bin/sleep under another name, which the process list then shows.
std::unique_ptr<QProcess> sleeperNamed(const QString &name) {
    const QString path = QDir::homePath() + '/' + name;
    QFile::copy("/bin/sleep", path);
    auto process = std::make_unique<QProcess>();
    endWithParent(*process);
    process->start(path, {"60"});
    EXPECT_TRUE(process->waitForStarted());
    return process;
}
} // namespace

TEST(SingleInstance, NeedsTwoProcessesOfTheNameThatAreNotStopped) {
    const auto isRunning = [](const char *name) { return CorvidiaAppDelegate::checkApplicationIsRunning(name); };
    EXPECT_FALSE(isRunning("sleeper-one"));
    const auto first = sleeperNamed("sleeper-one");
    EXPECT_FALSE(isRunning("sleeper-one"));
    const auto second = sleeperNamed("sleeper-one");
    EXPECT_TRUE(waitUntil([&] { return isRunning("sleeper-one"); }));
    EXPECT_FALSE(isRunning("Sleeper-One"));
    EXPECT_FALSE(isRunning("sleeper"));
    kill(static_cast<pid_t>(second->processId()), SIGSTOP);
    EXPECT_TRUE(waitUntil([&] { return !isRunning("sleeper-one"); }));
    second->kill();
    first->kill();
    second->waitForFinished();
    first->waitForFinished();
}

TEST(Process, RunsOnASessionBusAndEndsInOrderOnASignal) {
    PrivateDesktop desktop(QDir::homePath());
    ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
    qputenv("PULSE_SERVER", "unix:/nowhere");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("QT_QPA_PLATFORM");
    const auto start = [&] {
        auto program = std::make_unique<QProcess>();
        endWithParent(*program);
        program->setProcessEnvironment(environment);
        program->start(CORVIDIA_PROGRAM, {});
        return program;
    };
    QDBusConnection bus = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "test");
    const auto isOnBus = [&] { return bus.interface()->isServiceRegistered("com.tessarine.Corvidia").value(); };

    const auto program = start();
    ASSERT_TRUE(waitUntil(isOnBus)) << (program->waitForFinished(0), program->readAllStandardError().constData());
    // A second copy says that there is one already; here its alert stands until the copy is ended.
    const auto second = start();
    EXPECT_FALSE(second->waitForFinished(1500));
    second->terminate();
    second->waitForFinished(5000);

    kill(static_cast<pid_t>(program->processId()), SIGTERM);
    EXPECT_TRUE(program->waitForFinished(20'000));
    EXPECT_EQ(program->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program->exitCode(), 0) << program->readAllStandardError().constData();
    EXPECT_FALSE(isOnBus());

    // Without a session bus the program works as before; Qt 6.8 leaks its question to the desktop then.
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    const auto alone = start();
    ASSERT_TRUE(waitUntil([&] { return catchesTermination(*alone); }));
    alone->terminate();
    EXPECT_TRUE(alone->waitForFinished(20'000));
    EXPECT_EQ(alone->exitCode(), 0) << alone->readAllStandardError().constData();
}
