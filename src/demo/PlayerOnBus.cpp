#include "demo/PlayerOnBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QVariantMap>

namespace {
constexpr const char *kPath = "/org/mpris/MediaPlayer2";
constexpr const char *kPlayerInterface = "org.mpris.MediaPlayer2.Player";
constexpr const char *kPropertiesInterface = "org.freedesktop.DBus.Properties";
} // namespace

class PlayerOnBus::Player : public QDBusVirtualObject {
public:
    explicit Player(const QString &name)
        : service_("org.mpris.MediaPlayer2." + name),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, service_)) {}
    ~Player() override { QDBusConnection::disconnectFromBus(service_); }

    bool begin() { return bus_.registerVirtualObject(kPath, this) && bus_.registerService(service_); }

    void show(const QVariantMap &properties) {
        properties_ = properties;
        QDBusMessage news = QDBusMessage::createSignal(kPath, kPropertiesInterface, "PropertiesChanged");
        news << kPlayerInterface << properties_ << QStringList();
        bus_.send(news);
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override {
        if (message.interface() != kPropertiesInterface)
            return false;
        const QVariantList arguments = message.arguments();
        const bool isOfPlayer = arguments.value(0).toString() == kPlayerInterface;
        if (message.member() == "GetAll")
            return bus.send(message.createReply(isOfPlayer ? properties_ : QVariantMap{{"Identity", service_}}));
        if (message.member() == "Get" && isOfPlayer)
            return bus.send(message.createReply(
                QVariant::fromValue(QDBusVariant(properties_.value(arguments.value(1).toString())))));
        return false;
    }

private:
    const QString service_;
    QDBusConnection bus_;
    QVariantMap properties_;
};

PlayerOnBus::PlayerOnBus(const QString &name) : player_(std::make_unique<Player>(name)) {
    player_->moveToThread(&thread_);
    thread_.start();
    QMetaObject::invokeMethod(
        player_.get(), [this] { isThere_ = player_->begin(); }, Qt::BlockingQueuedConnection);
    stop();
}

PlayerOnBus::~PlayerOnBus() {
    thread_.quit();
    thread_.wait();
}

void PlayerOnBus::play(const Title &title) {
    QVariantMap metadata{{"mpris:trackid", QVariant::fromValue(QDBusObjectPath("/track"))},
                         {"xesam:title", title.title},
                         {"mpris:length", title.milliseconds * 1000}};
    if (!title.artist.isEmpty())
        metadata["xesam:artist"] = QStringList{title.artist};
    if (!title.album.isEmpty())
        metadata["xesam:album"] = title.album;
    if (!title.cover.isEmpty())
        metadata["mpris:artUrl"] = title.cover.toString();
    show(QStringLiteral("Playing"), metadata);
}

void PlayerOnBus::stop() { show(QStringLiteral("Stopped"), {}); }

void PlayerOnBus::show(const QString &status, const QVariantMap &metadata) {
    QMetaObject::invokeMethod(
        player_.get(),
        [&] {
            player_->show({{"PlaybackStatus", status}, {"Metadata", metadata}});
        },
        Qt::BlockingQueuedConnection);
}
