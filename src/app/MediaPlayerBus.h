// The program as a media player on the session bus: org.mpris.MediaPlayer2.Corvidia, so that media keys, lock screens
// and playerctl drive it.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"

#include <QObject>
#include <QVariantMap>

class MediaPlayerAdaptor;

/// Does what the bus asks for, and tells what there is.
class MediaPlayerBusDelegate {
public:
    virtual void raiseWindow() = 0;
    virtual void quitProgram() = 0;
    virtual void playPause() = 0;
    virtual void startPlaying() = 0;
    virtual void pausePlaying() = 0;
    virtual void stopPlaying() = 0;
    virtual void playNext() = 0;
    virtual void playPrevious() = 0;
    virtual void seekTo(qint64 milliseconds) = 0; ///< and calls seeked() when it did
    virtual void changeVolume(double volume) = 0;

    virtual SongPtr playedSong() const = 0; ///< null when nothing is loaded
    virtual bool isPlaying() const = 0;
    virtual bool canPlay() const = 0; ///< Play would do something
    virtual bool canGoNext() const = 0;
    virtual bool canGoPrevious() const = 0;
    virtual qint64 playedMilliseconds() const = 0;
    virtual qint64 durationMilliseconds() const = 0;
    virtual double volume() const = 0;

protected:
    ~MediaPlayerBusDelegate() = default;
};

class MediaPlayerBus : public QObject {
    Q_OBJECT
public:
    MediaPlayerBus(MediaPlayerBusDelegate &delegate, QObject *parent);
    /// Takes the name. False without a session bus.
    bool connectToBus();
    /// Something of what the delegate tells has changed: tells the bus what is different from last time.
    void changed();
    /// The position jumped otherwise than by playing on.
    void seeked(qint64 milliseconds);

private:
    void tell();

    MediaPlayerAdaptor *player_;
    QVariantMap told_; // what the bus knows
    bool isConnected_ = false;
    bool isTellingSoon_ = false;
};
