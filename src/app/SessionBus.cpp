#include "app/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

namespace {
constexpr const char *kService = "com.tessarine.Corvidia";
constexpr const char *kObjectPath = "/com/tessarine/Corvidia";
} // namespace

SessionBus::SessionBus(QObject *exported, SessionBusDelegate &delegate)
    : QDBusAbstractAdaptor(exported), delegate_(delegate) {}

bool SessionBus::connectToBus() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.registerObject(kObjectPath, parent()) && bus.registerService(kService);
}

void SessionBus::activateOtherCopy() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kObjectPath, "org.freedesktop.Application", "Activate");
    call << QVariantMap();
    call.setAutoStartService(false);
    // Sent, not called: whether somebody is there or not, this copy ends.
    QDBusConnection::sessionBus().send(call);
}

// The answer goes out first: an action may open a dialog, and the caller shall not wait for its end.

void SessionBus::Activate([[maybe_unused]] const QVariantMap &platform_data) {
    QTimer::singleShot(0, this, [this] { delegate_.activate(); });
}

void SessionBus::Open([[maybe_unused]] const QStringList &uris, const QVariantMap &platform_data) {
    Activate(platform_data); // this program opens no documents
}

void SessionBus::ActivateAction(const QString &action_name, [[maybe_unused]] const QVariantList &parameter,
                                [[maybe_unused]] const QVariantMap &platform_data) {
    QTimer::singleShot(0, this, [this, action_name] { delegate_.activateAction(action_name); });
}
