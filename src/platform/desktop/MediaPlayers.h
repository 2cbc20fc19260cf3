// The media players on the session bus, and what the one that is heard says it plays.
//
// The bus is watched only while that is wanted, and nobody is waited for: a player that hangs, floods the bus, or goes
// away in the midst of an answer costs next to nothing.
//
// Threads: main.
#pragma once

#include "platform/desktop/PlayedTitle.h"

#include <QDBusMessage>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <sys/types.h>

class MediaPlayersDelegate {
public:
    /// From `hostTime` on the player that is heard says that it plays `title`. Nothing: none plays, or it can't be told
    /// which of several is heard.
    virtual void playedTitleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime) = 0;

protected:
    ~MediaPlayersDelegate() = default;
};

class MediaPlayers final : public QObject {
    Q_OBJECT
public:
    /// Which processes are heard; called on a worker's thread.
    using SoundingProcesses = std::function<std::optional<QSet<pid_t>>()>;

    /// `delegate` outlives this.
    explicit MediaPlayers(MediaPlayersDelegate &delegate);
    MediaPlayers(MediaPlayersDelegate &delegate, SoundingProcesses soundingProcesses);
    ~MediaPlayers() override;

    /// Begins without a title. At the end nothing more is told.
    void setWatching(bool watches);

private slots:
    void propertiesChanged(const QDBusMessage &message);

private:
    struct Player {
        QStringList services; // the names that it has on the bus
        pid_t process = 0;    // 0 until known
        QVariant metadata;    // as it came last, not read yet
        PlayedTitle title;
        bool isPlaying = false;
        bool isDeaf = false;  // it floods: nothing is heard of it for a while
        bool isAsked = false; // an answer is to come
        int news = 0;         // since the last look
    };
    using Answer = std::function<void(const QDBusMessage &answer)>;

    void ask(const QDBusMessage &question, Answer answer);
    void serviceCame(const QString &service);
    void serviceWent(const QString &service);
    void playerCame(const QString &service, const QString &owner);
    void askPlayer(const QString &owner);
    bool listenTo(const QString &owner, bool listens);
    void take(Player &player, const QVariantMap &properties);
    void rest(const QString &owner);
    void look();
    void tell();
    static bool isOneTitle(const QList<const Player *> &players);
    void askWhoSounds();

    MediaPlayersDelegate &delegate_;
    SoundingProcesses soundingProcesses_;
    std::unique_ptr<QObject> session_; // owns what waits for answers while the bus is watched; null while it isn't
    QHash<QString, Player> players_;   // by unique name on the bus
    QTimer look_;                      // runs while there is news
    uint64_t newsTime_ = 0;            // of the oldest news not looked at
    std::optional<PlayedTitle> told_;
    QTimer soundLook_;                    // runs while several play
    std::optional<QSet<pid_t>> sounding_; // since several play
    bool asksWhoSounds_ = false;
};
