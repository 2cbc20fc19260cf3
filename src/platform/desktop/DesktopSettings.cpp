#include "platform/desktop/DesktopSettings.h"

#include "platform/run/MainThread.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFile>
#include <QPointer>
#include <QThreadPool>

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");
const QString kGnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const QString kEnableAnimations = QStringLiteral("enable-animations");

// Without this test the library behind QtDBus would start a bus of its own.
bool hasSessionBus() {
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
           QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

} // namespace

DesktopSettings::DesktopSettings(QObject *parent) : QObject(parent) {
    if (!hasSessionBus())
        return;
    // Connecting waits for the bus to greet back.
    QThreadPool::globalInstance()->start([self = QPointer(this)] {
        if (!QDBusConnection::sessionBus().isConnected())
            return;
        performOnMainThread([self] {
            if (self)
                self->ask();
        });
    });
}

void DesktopSettings::ask() {
    // Naming the service here would make the call wait for the name's owner. A slot that takes the arguments one by one
    // is refused, for its variant.
    QDBusConnection::sessionBus().connect(QString(), kPath, kInterface, QStringLiteral("SettingChanged"), this,
                                          SLOT(settingChanged(QDBusMessage)));
    read(kAppearance, kColorScheme);
    read(kGnomeInterface, kEnableAnimations);
}

void DesktopSettings::read(const QString &group, const QString &key) {
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    call << group << key;
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, group, key] {
        // An error says that the desktop has no portal or not this setting: the answer stays as it is.
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid())
            take(group, key, reply.value().variant());
        watcher->deleteLater();
    });
}

void DesktopSettings::settingChanged(const QDBusMessage &signal) {
    const QVariantList arguments = signal.arguments();
    if (arguments.size() == 3)
        take(arguments.at(0).toString(), arguments.at(1).toString(), arguments.at(2));
}

void DesktopSettings::take(const QString &group, const QString &key, QVariant value) {
    // Read() packs its answer into one variant more than the signal does.
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (group == kAppearance && key == kColorScheme) {
        const uint scheme = value.toUInt(); // 0 no preference, 1 dark, 2 light
        isDark_ = scheme == 1 || scheme == 2 ? std::optional(scheme == 1) : std::nullopt;
    } else if (group == kGnomeInterface && key == kEnableAnimations) {
        isMotionReduced_ = !value.toBool();
    } else {
        return;
    }
    emit changed();
}
