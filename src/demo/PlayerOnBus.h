// A media player as the session bus sees it: it says what it plays, and plays nothing.
//
// Threads: one; it answers the bus on a thread of its own, whatever that one does.
#pragma once

#include <QString>
#include <QThread>
#include <QUrl>
#include <memory>

class PlayerOnBus {
public:
    struct Title {
        QString title, artist, album;
        qint64 milliseconds = 0;
        QUrl cover = {};
    };

    /// Comes to the bus as "org.mpris.MediaPlayer2.`name`", with nothing to play.
    explicit PlayerOnBus(const QString &name);
    /// Leaves the bus.
    ~PlayerOnBus();
    PlayerOnBus(const PlayerOnBus &) = delete;
    PlayerOnBus &operator=(const PlayerOnBus &) = delete;

    /// Whether the bus took it.
    bool isThere() const { return isThere_; }
    void play(const Title &title);
    void stop();

private:
    class Player;

    void show(const QString &status, const QVariantMap &metadata);

    QThread thread_;
    std::unique_ptr<Player> player_; // lives on thread_
    bool isThere_ = false;
};
