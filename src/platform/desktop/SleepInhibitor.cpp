#include "platform/desktop/SleepInhibitor.h"

#include "platform/run/Log.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace {
constexpr uint kPortalSuspend = 4; // flag of org.freedesktop.portal.Inhibit
constexpr const char *kPortalService = "org.freedesktop.portal.Desktop";
} // namespace

SleepInhibitor::SleepInhibitor(QString reason, const QDBusConnection &systemBus, const QDBusConnection &sessionBus)
    : reason_(std::move(reason)), systemBus_(systemBus), sessionBus_(sessionBus) {}

SleepInhibitor::~SleepInhibitor() { release(); }

bool SleepInhibitor::isGranted() const { return logindLock_ || !portalRequest_.isEmpty(); }

void SleepInhibitor::setActive(bool active) {
    if (active == isActive_)
        return;
    isActive_ = active;
    if (active)
        askLogind();
    else
        release();
}

void SleepInhibitor::askLogind() {
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                                       "org.freedesktop.login1.Manager", "Inhibit");
    call << "sleep:idle"
         << "Tessarine Corvidia" << reason_ << "block";
    auto *answer = new QDBusPendingCallWatcher(systemBus_.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *answer;
        answer->deleteLater();
        if (!isActive_)
            return; // a lock that came too late is closed with the reply
        if (reply.isValid())
            logindLock_ = reply.value();
        else
            askPortal();
    });
}

void SleepInhibitor::askPortal() {
    QDBusMessage call = QDBusMessage::createMethodCall(kPortalService, "/org/freedesktop/portal/desktop",
                                                       "org.freedesktop.portal.Inhibit", "Inhibit");
    call << QString() << kPortalSuspend << QVariantMap{{"reason", reason_}};
    auto *answer = new QDBusPendingCallWatcher(sessionBus_.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusObjectPath> reply = *answer;
        answer->deleteLater();
        if (!reply.isValid()) {
            logLine("nobody here can keep the computer awake while it records: " + reply.error().message());
            return;
        }
        portalRequest_ = reply.value().path();
        if (!isActive_)
            release();
    });
}

void SleepInhibitor::release() {
    logindLock_.reset();
    if (portalRequest_.isEmpty())
        return;
    sessionBus_.send(
        QDBusMessage::createMethodCall(kPortalService, portalRequest_, "org.freedesktop.portal.Request", "Close"));
    portalRequest_.clear();
}
