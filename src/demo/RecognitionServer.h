// A server on this computer that answers as AcoustID, MusicBrainz and the Cover Art Archive do, and as they do when
// they are in trouble. `./run demo` and the tests point the program at it.
//
// Threads: one may own it; it answers on a thread of its own.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <chrono>
#include <memory>

class RecognitionServer {
public:
    /// The only application key that it knows.
    static constexpr const char *kKey = "demo-key";

    /// A recording that the services know. AcoustID knows it by its fingerprint, or where it has none here by its
    /// length, with any fingerprint.
    struct Song {
        QString title, artist, album;
        QString date = "2001-07-04";
        QString genre = "rock";
        double seconds = 0;
        QByteArray fingerprint = {}; ///< as it is asked for

        QString recordingID() const;
        QString releaseID() const;      ///< of the album
        QString releaseGroupID() const; ///< of the album
    };

    /// Something else in place of the services' answer.
    struct Answer {
        enum class Trouble {
            None,
            Cut,    ///< the connection ends half way
            Silence ///< nothing comes, and the connection stays
        };
        int status = 200;
        QByteArray body = {};
        QByteArray headers = {}; ///< whole lines
        Trouble trouble = Trouble::None;
    };

    /// `isSecure`: by https, with a certificate that nobody should believe.
    explicit RecognitionServer(bool isSecure = false);
    ~RecognitionServer();
    RecognitionServer(const RecognitionServer &) = delete;
    RecognitionServer &operator=(const RecognitionServer &) = delete;

    /// The base address of all three; null if it did not come up.
    QString address() const;
    void setSongs(const QList<Song> &songs);
    /// Every answer comes so late, as from far away.
    void setDelay(std::chrono::milliseconds delay);
    /// Who asks for a picture is sent there, as to another host; unless told, it is this server's own.
    void setPicturesAt(const QString &address);
    /// The next requests whose path begins with `path` get these, and the last one of them for ever.
    void setAnswers(const QString &path, const QList<Answer> &answers);
    /// Method, path, query and form of every request so far.
    QStringList requests() const;

    /// The cover of an album, as the server gives it.
    static QByteArray cover(const QString &releaseID);

private:
    class Listener;
    struct State;

    const std::shared_ptr<State> state_;
    std::unique_ptr<Listener> listener_;
};
