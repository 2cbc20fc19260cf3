#include "platform/desktop/MediaPlayers.h"

#include "platform/desktop/SoundingProcesses.h"
#include "platform/run/HostTime.h"
#include "platform/run/MainThread.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <QThreadPool>
#include <algorithm>

namespace {

using namespace std::chrono_literals;

constexpr const char *kBus = "org.freedesktop.DBus";
constexpr const char *kBusPath = "/org/freedesktop/DBus";
constexpr const char *kPlayerPath = "/org/mpris/MediaPlayer2";
constexpr const char *kPlayerInterface = "org.mpris.MediaPlayer2.Player";
constexpr const char *kProperties = "org.freedesktop.DBus.Properties";
constexpr const char *kServicePrefix = "org.mpris.MediaPlayer2.";
constexpr const char *kEveryService = "org.mpris.MediaPlayer2*"; // what begins so, up to a dot or the end

constexpr int kAnswerMilliseconds = 5000;
constexpr qsizetype kMostPlayers = 32;
// Players change title, artist and picture one after another: that is one change.
constexpr auto kLookDelay = 200ms;
// More in one look than any honest change is made of: such a player is asked now and then instead.
constexpr int kMostNews = 20;
constexpr auto kRest = 1000ms;
constexpr auto kSoundInterval = 2000ms; // of looks at the sound server while several play

/// Ourselves, and those that only pass on what other players, or other machines, say.
bool isPlayerOfItsOwn(const QString &service) {
    const QString name = service.mid(qstrlen(kServicePrefix));
    return service.startsWith(kServicePrefix) && name != "Corvidia" && name != "playerctld" &&
           !name.startsWith("kdeconnect");
}

QDBusMessage questionToBus(const char *member, const QVariantList &arguments = {}) {
    QDBusMessage question = QDBusMessage::createMethodCall(kBus, kBusPath, kBus, member);
    question.setArguments(arguments);
    return question;
}

} // namespace

MediaPlayers::MediaPlayers(MediaPlayersDelegate &delegate) : MediaPlayers(delegate, &soundingProcesses) {}

MediaPlayers::MediaPlayers(MediaPlayersDelegate &delegate, SoundingProcesses soundingProcesses)
    : delegate_(delegate), soundingProcesses_(std::move(soundingProcesses)) {
    look_.setSingleShot(true);
    look_.setInterval(kLookDelay);
    look_.callOnTimeout([this] { look(); });
    soundLook_.setInterval(kSoundInterval);
    soundLook_.callOnTimeout([this] { askWhoSounds(); });
}

MediaPlayers::~MediaPlayers() { setWatching(false); }

void MediaPlayers::setWatching(bool watches) {
    if (watches == (session_ != nullptr))
        return;
    if (!watches) {
        const QStringList owners = players_.keys();
        for (const QString &owner : owners)
            listenTo(owner, /*listens=*/false);
        session_.reset();
        players_.clear();
        look_.stop();
        soundLook_.stop();
        return;
    }
    told_.reset();
    session_ = std::make_unique<QObject>();
    auto *watcher = new QDBusServiceWatcher(kEveryService, QDBusConnection::sessionBus(),
                                            QDBusServiceWatcher::WatchForOwnerChange, session_.get());
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &service, const QString &, const QString &owner) {
                serviceWent(service);
                if (!owner.isEmpty() && isPlayerOfItsOwn(service))
                    playerCame(service, owner);
            });
    ask(questionToBus("ListNames"), [this](const QDBusMessage &answer) {
        for (const QString &service : answer.arguments().value(0).toStringList())
            if (isPlayerOfItsOwn(service))
                serviceCame(service);
    });
}

// The bus

/// `answer` is called unless an error comes, or the watching ends before.
void MediaPlayers::ask(const QDBusMessage &question, Answer answer) {
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question, kAnswerMilliseconds),
                                                session_.get());
    connect(watcher, &QDBusPendingCallWatcher::finished, session_.get(), [watcher, answer = std::move(answer)] {
        answer(watcher->reply());
        watcher->deleteLater();
    });
}

void MediaPlayers::serviceCame(const QString &service) {
    ask(questionToBus("GetNameOwner", {service}), [this, service](const QDBusMessage &answer) {
        if (answer.type() == QDBusMessage::ReplyMessage)
            playerCame(service, answer.arguments().value(0).toString());
    });
}

void MediaPlayers::serviceWent(const QString &service) {
    for (auto player = players_.begin(); player != players_.end(); ++player) {
        if (!player->services.removeOne(service))
            continue;
        if (player->services.isEmpty()) {
            listenTo(player.key(), /*listens=*/false);
            players_.erase(player);
            tell();
        }
        return;
    }
}

void MediaPlayers::playerCame(const QString &service, const QString &owner) {
    if (const auto known = players_.find(owner); known != players_.end()) {
        if (!known->services.contains(service))
            known->services << service;
        return;
    }
    if (players_.size() >= kMostPlayers || !listenTo(owner, /*listens=*/true))
        return;
    players_[owner].services << service;
    ask(questionToBus("GetConnectionUnixProcessID", {owner}), [this, owner](const QDBusMessage &answer) {
        if (const auto player = players_.find(owner); player != players_.end())
            player->process = answer.arguments().value(0).toInt();
    });
    askPlayer(owner);
}

/// By the unique name, for which the bus need not be asked who that is.
bool MediaPlayers::listenTo(const QString &owner, bool listens) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QStringList ofPlayer{kPlayerInterface};
    constexpr const char *kSignal = "PropertiesChanged";
    if (listens)
        return bus.connect(owner, kPlayerPath, kProperties, kSignal, ofPlayer, {}, this,
                           SLOT(propertiesChanged(QDBusMessage)));
    return bus.disconnect(owner, kPlayerPath, kProperties, kSignal, ofPlayer, {}, this,
                          SLOT(propertiesChanged(QDBusMessage)));
}

void MediaPlayers::askPlayer(const QString &owner) {
    Player &player = players_[owner];
    if (std::exchange(player.isAsked, true))
        return;
    QDBusMessage question = QDBusMessage::createMethodCall(owner, kPlayerPath, kProperties, "GetAll");
    question << QString(kPlayerInterface);
    ask(question, [this, owner](const QDBusMessage &answer) {
        const auto known = players_.find(owner);
        if (known == players_.end())
            return;
        known->isAsked = false;
        if (answer.type() == QDBusMessage::ReplyMessage)
            take(*known, dictionaryOf(answer.arguments().value(0)));
    });
}

void MediaPlayers::propertiesChanged(const QDBusMessage &message) {
    const auto player = players_.find(message.service());
    if (player == players_.end() || player->isDeaf)
        return;
    if (++player->news > kMostNews) {
        rest(player.key());
        return;
    }
    take(*player, dictionaryOf(message.arguments().value(1)));
    const QStringList withoutValue = message.arguments().value(2).toStringList();
    if (withoutValue.contains("Metadata") || withoutValue.contains("PlaybackStatus"))
        askPlayer(player.key());
}

void MediaPlayers::take(Player &player, const QVariantMap &properties) {
    if (const auto metadata = properties.constFind("Metadata"); metadata != properties.cend())
        player.metadata = *metadata;
    if (const auto status = properties.constFind("PlaybackStatus"); status != properties.cend())
        player.isPlaying = status->toString() == "Playing";
    if (look_.isActive())
        return;
    newsTime_ = AudioGetCurrentHostTime();
    look_.start();
}

void MediaPlayers::rest(const QString &owner) {
    players_[owner].isDeaf = true;
    listenTo(owner, /*listens=*/false);
    QTimer::singleShot(kRest, session_.get(), [this, owner] {
        const auto player = players_.find(owner);
        if (player == players_.end())
            return;
        player->isDeaf = false;
        player->news = 0;
        listenTo(owner, /*listens=*/true);
        askPlayer(owner);
    });
}

// What is heard

void MediaPlayers::look() {
    for (Player &player : players_) {
        player.news = 0;
        if (player.metadata.isValid())
            player.title = playedTitleOf(std::exchange(player.metadata, {}));
    }
    tell();
}

void MediaPlayers::tell() {
    const uint64_t hostTime = newsTime_ != 0 ? std::exchange(newsTime_, 0) : AudioGetCurrentHostTime();
    QList<const Player *> heard;
    for (const Player &player : std::as_const(players_))
        if (player.isPlaying)
            heard << &player;
    if (isOneTitle(heard)) {
        soundLook_.stop();
        sounding_.reset();
    } else if (!soundLook_.isActive()) {
        soundLook_.start();
        askWhoSounds();
    }
    if (soundLook_.isActive()) {
        if (!sounding_)
            return; // until then what was heard before
        heard.removeIf([this](const Player *player) { return !sounding_->contains(player->process); });
    }
    std::optional<PlayedTitle> title;
    if (!heard.isEmpty() && isOneTitle(heard) && !heard.first()->title.title.isNull())
        title = heard.first()->title;
    if (title == told_)
        return;
    told_ = title;
    delegate_.playedTitleDidChange(told_, hostTime);
}

/// A browser and its helper, for one, both tell of the same.
bool MediaPlayers::isOneTitle(const QList<const Player *> &players) {
    return std::all_of(players.cbegin(), players.cend(), [&players](const Player *player) {
        return player->title.title == players.first()->title.title;
    });
}

void MediaPlayers::askWhoSounds() {
    if (std::exchange(asksWhoSounds_, true))
        return;
    QThreadPool::globalInstance()->start([ask = soundingProcesses_, self = QPointer(this)] {
        // Without an answer nobody is known to be heard.
        performOnMainThread([self, answer = ask().value_or(QSet<pid_t>())] {
            if (!self)
                return;
            self->asksWhoSounds_ = false;
            if (!self->soundLook_.isActive())
                return;
            self->sounding_ = answer;
            self->tell();
        });
    });
}
