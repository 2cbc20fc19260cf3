#include "platform/desktop/SleepInhibitor.h"

#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"
#include "support/KeptLog.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace {
/// Logind and the desktop portal, on a bus of the test's own.
class FakeServices final : public QDBusVirtualObject {
public:
    FakeServices() { EXPECT_EQ(pipe2(lock_, O_CLOEXEC | O_NONBLOCK), 0); }
    ~FakeServices() override { close(lock_[0]); }

    QVariantList asked;
    bool isRequestClosed = false;
    /// True once nobody holds logind's lock any more.
    bool isLockReleased() const {
        pollfd reading{lock_[0], POLLIN, 0};
        return poll(&reading, 1, 0) == 1 && reading.revents & POLLHUP;
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override {
        if (message.interface() == "org.freedesktop.portal.Request") {
            isRequestClosed = message.member() == "Close";
            return true;
        }
        asked = message.arguments();
        if (message.interface() == "org.freedesktop.login1.Manager") {
            bus.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(lock_[1]))));
            close(lock_[1]);
        } else {
            bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath("/request"))));
        }
        return true;
    }

private:
    int lock_[2]{};
};

struct SleepInhibitorTest : testing::Test {
    void SetUp() override {
        ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
        const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        services = QDBusConnection::connectToBus(address, "services");
        program = QDBusConnection::connectToBus(address, "program");
        ASSERT_TRUE(services.registerVirtualObject("/", &fakes, QDBusConnection::SubPath));
    }

    KeptLog log;
    PrivateDesktop desktop{QDir::homePath()};
    FakeServices fakes;
    QDBusConnection services{"services"}, program{"program"};
};
} // namespace

TEST_F(SleepInhibitorTest, HoldsALockOfLogindWhileItIsActive) {
    ASSERT_TRUE(services.registerService("org.freedesktop.login1"));
    SleepInhibitor inhibitor("Music is being recorded", program, program);
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return inhibitor.isGranted(); }));
    EXPECT_EQ(fakes.asked, QVariantList({"sleep:idle", "Tessarine Corvidia", "Music is being recorded", "block"}));
    EXPECT_FALSE(fakes.isLockReleased());
    inhibitor.setActive(false);
    EXPECT_TRUE(waitUntil([&] { return fakes.isLockReleased(); }));
}

TEST_F(SleepInhibitorTest, AsksThePortalWhereThereIsNoLogindAndNobodyWhereThereIsNeither) {
    SleepInhibitor inhibitor("Music is being recorded", program, program);
    inhibitor.setActive(true);
    EXPECT_TRUE(waitUntil([&] { return !log.isEmpty(); }));
    inhibitor.setActive(false);

    ASSERT_TRUE(services.registerService("org.freedesktop.portal.Desktop"));
    inhibitor.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return inhibitor.isGranted(); }));
    EXPECT_EQ(fakes.asked.value(1).toUInt(), 4u); // suspend
    inhibitor.setActive(false);
    EXPECT_TRUE(waitUntil([&] { return fakes.isRequestClosed; }));
}
