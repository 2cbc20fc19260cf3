// The two interfaces of MediaPlayerBus, as they are on the bus: names and types are those of MPRIS 2.
//
// Threads: main.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

class MediaPlayerBusDelegate;

class MediaPlayerRootAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ yes)
    Q_PROPERTY(bool CanRaise READ yes)
    Q_PROPERTY(bool HasTrackList READ no)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ nothing)
    Q_PROPERTY(QStringList SupportedMimeTypes READ nothing)
public:
    MediaPlayerRootAdaptor(QObject *exported, MediaPlayerBusDelegate &delegate);

    bool yes() const { return true; }
    bool no() const { return false; }
    QString identity() const { return QStringLiteral("Tessarine Corvidia"); }
    QString desktopEntry() const { return QStringLiteral("com.tessarine.Corvidia"); }
    QStringList nothing() const { return {}; }

public slots:
    void Raise();
    void Quit();

private:
    MediaPlayerBusDelegate &delegate_;
};

/// Times are microseconds.
class MediaPlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)
public:
    MediaPlayerAdaptor(QObject *exported, MediaPlayerBusDelegate &delegate);

    /// All properties but the position, of whose course nobody is told.
    QVariantMap told() const;

    QString playbackStatus() const;
    double rate() const { return 1; }
    void setRate(double rate);
    QVariantMap metadata() const;
    double volume() const;
    void setVolume(double volume);
    qlonglong position() const;
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canPlay() const;
    bool canPause() const;
    bool canSeek() const;
    bool canControl() const { return true; }

public slots:
    void Next();
    void Previous();
    void Pause();
    void PlayPause();
    void Stop();
    void Play();
    void Seek(qlonglong Offset);
    void SetPosition(const QDBusObjectPath &TrackId, qlonglong Position);
    void OpenUri(const QString &Uri, const QDBusMessage &message);

signals:
    void Seeked(qlonglong Position);

private:
    /// Does it in a turn of its own, so that the answer goes out first.
    void later(void (MediaPlayerBusDelegate::*action)());
    QDBusObjectPath trackID() const;
    qint64 duration() const;

    MediaPlayerBusDelegate &delegate_;
};
