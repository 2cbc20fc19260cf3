#include "platform/SleepInhibitor.h"

#include "demo/PrivateDesktop.h"
#include "platform/Log.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace {
/// What logind and the portal offer, on a bus of the test's own.
class FakeLogind : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
public:
    FakeLogind() { EXPECT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0); }
    ~FakeLogind() override { close(ends[0]); }
    QStringList asked;
    /// True once nobody holds the lock any more.
    bool isReleased() {
        pollfd reading{ends[0], POLLIN, 0};
        return poll(&reading, 1, 0) == 1 && reading.revents & POLLHUP;
    }

public slots:
    Q_SCRIPTABLE QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who, const QString &why,
                                                 const QString &mode) {
        asked << what << who << why << mode;
        QDBusUnixFileDescriptor lock(ends[1]);
        close(ends[1]);
        return lock;
    }

private:
    int ends[2]{};
};

class FakePortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Inhibit")
public:
    uint flags = 0;
public slots:
    Q_SCRIPTABLE QDBusObjectPath Inhibit(const QString &, uint what, const QVariantMap &) {
        flags = what;
        return QDBusObjectPath("/request");
    }
};

class FakeRequest : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")
public:
    bool isClosed = false;
public slots:
    Q_SCRIPTABLE void Close() { isClosed = true; }
};

bool waitUntil(const std::function<bool()> &condition) {
    QElapsedTimer timer;
    for (timer.start(); !condition(); QCoreApplication::processEvents(QEventLoop::AllEvents, 10))
        if (timer.elapsed() > 10'000)
            return false;
    return true;
}

class SleepInhibitorTest : public testing::Test {
protected:
    void SetUp() override {
        setLogSink([this](const QString &line) { log << line; });
        ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
        const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        services = QDBusConnection::connectToBus(address, "services");
        program = QDBusConnection::connectToBus(address, "program");
    }
    void TearDown() override { setLogSink({}); }

    QStringList log;
    QTemporaryDir folder{"/tmp/corvidia-XXXXXX"};
    PrivateDesktop desktop{folder.path()};
    QDBusConnection services{"services"}, program{"program"};
};
} // namespace

TEST_F(SleepInhibitorTest, HoldsALockOfLogindWhileItIsActive) {
    FakeLogind logind;
    ASSERT_TRUE(services.registerObject("/org/freedesktop/login1", &logind, QDBusConnection::ExportScriptableSlots));
    ASSERT_TRUE(services.registerService("org.freedesktop.login1"));
    SleepInhibitor inhibitor("Music is being recorded", program, program);
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return inhibitor.isGranted(); }));
    EXPECT_EQ(logind.asked, QStringList({"sleep:idle", "Tessarine Corvidia", "Music is being recorded", "block"}));
    EXPECT_FALSE(logind.isReleased());
    inhibitor.setActive(false);
    EXPECT_TRUE(waitUntil([&] { return logind.isReleased(); }));
}

TEST_F(SleepInhibitorTest, AsksThePortalWhereThereIsNoLogindAndNobodyWhereThereIsNeither) {
    SleepInhibitor inhibitor("Music is being recorded", program, program);
    inhibitor.setActive(true);
    EXPECT_TRUE(waitUntil([&] { return !log.isEmpty(); }));
    inhibitor.setActive(false);

    FakePortal portal;
    FakeRequest request;
    services.registerObject("/org/freedesktop/portal/desktop", &portal, QDBusConnection::ExportScriptableSlots);
    services.registerObject("/request", &request, QDBusConnection::ExportScriptableSlots);
    ASSERT_TRUE(services.registerService("org.freedesktop.portal.Desktop"));
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return inhibitor.isGranted(); }));
    EXPECT_EQ(portal.flags, 4u); // suspend
    inhibitor.setActive(false);
    EXPECT_TRUE(waitUntil([&] { return request.isClosed; }));
}

#include "SleepInhibitorTest.moc"
