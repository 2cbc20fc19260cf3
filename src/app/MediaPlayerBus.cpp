#include "app/MediaPlayerBus.h"

#include "app/MediaPlayerAdaptors.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

namespace {
constexpr const char *kService = "org.mpris.MediaPlayer2.Corvidia";
constexpr const char *kObjectPath = "/org/mpris/MediaPlayer2";
} // namespace

MediaPlayerBus::MediaPlayerBus(MediaPlayerBusDelegate &delegate, QObject *parent)
    : QObject(parent), player_(new MediaPlayerAdaptor(this, delegate)) {
    new MediaPlayerRootAdaptor(this, delegate);
}

bool MediaPlayerBus::connectToBus() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    told_ = player_->told();
    isConnected_ = bus.isConnected() && bus.registerObject(kObjectPath, this, QDBusConnection::ExportAdaptors) &&
                   bus.registerService(kService);
    return isConnected_;
}

void MediaPlayerBus::changed() {
    if (!isConnected_ || isTellingSoon_)
        return;
    isTellingSoon_ = true;
    QTimer::singleShot(0, this, [this] { tell(); });
}

void MediaPlayerBus::seeked(qint64 milliseconds) {
    if (isConnected_)
        emit player_->Seeked(milliseconds * 1000);
}

void MediaPlayerBus::tell() {
    isTellingSoon_ = false;
    const QVariantMap now = player_->told();
    QVariantMap different;
    for (auto property = now.begin(); property != now.end(); ++property)
        if (told_.value(property.key()) != property.value())
            different.insert(property.key(), property.value());
    told_ = now;
    if (different.isEmpty())
        return;
    QDBusMessage signal =
        QDBusMessage::createSignal(kObjectPath, "org.freedesktop.DBus.Properties", "PropertiesChanged");
    signal << QStringLiteral("org.mpris.MediaPlayer2.Player") << different << QStringList();
    QDBusConnection::sessionBus().send(signal);
}
