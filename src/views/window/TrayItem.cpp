#include "views/window/TrayItem.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QFile>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>
#include <chrono>

namespace {

constexpr std::chrono::seconds kDesktopStart(20);
const QString kHost = QStringLiteral("org.kde.StatusNotifierWatcher");

// Without this test the library behind QtDBus would start a bus of its own.
bool hasSessionBus() {
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
           QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

bool isOnX11() { return QGuiApplication::platformName() == QLatin1String("xcb"); }

} // namespace

TrayItem::TrayItem(QMenu &menu, const QString &toolTip, QObject *parent)
    : QObject(parent), menu_(menu), toolTip_(toolTip) {
    if (hasSessionBus() && QDBusConnection::sessionBus().isConnected())
        lookForHost();
    else if (isOnX11())
        makeItem();
}

// Qt settles with its first look at the tray which kind it speaks to, so that look has to wait for a host on the bus.
// X11 has trays of another kind; once the desktop has had its time to start, Qt waits for one of those by itself.
void TrayItem::lookForHost() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    auto *watcher = new QDBusServiceWatcher(kHost, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { setHasHost(/*hasHost=*/true); });
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setHasHost(/*hasHost=*/false); });
    const QDBusPendingCall question = bus.interface()->asyncCall(QStringLiteral("NameHasOwner"), kHost);
    auto *call = new QDBusPendingCallWatcher(question, this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<bool> answer = *call;
        if (answer.isValid() && answer.value())
            setHasHost(/*hasHost=*/true);
    });
    if (isOnX11())
        QTimer::singleShot(kDesktopStart, this, &TrayItem::makeItem);
}

void TrayItem::setHasHost(bool hasHost) {
    hasHost_ = hasHost;
    if (hasHost)
        makeItem();
    emit availabilityChanged();
}

void TrayItem::makeItem() {
    if (item_)
        return;
    item_ = new QSystemTrayIcon(icon_, this);
    item_->setContextMenu(&menu_);
    item_->setToolTip(toolTip_);
    connect(item_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            emit raiseWanted();
    });
    item_->setVisible(!icon_.isNull());
    emit availabilityChanged();
}

void TrayItem::setIcon(const QIcon &icon) {
    icon_ = icon;
    if (!item_)
        return;
    item_->setIcon(icon);
    item_->show();
}

bool TrayItem::isAvailable() const { return item_ && (hasHost_ || QSystemTrayIcon::isSystemTrayAvailable()); }
