// The program outside its window: the tray, the window's icon, and the media player on the session bus.
//
// Threads: main.
#pragma once

#include "app/MediaPlayerBus.h"
#include "views/window/TrayItem.h"

#include <QObject>
#include <QTimer>

class MainWindowCtr;

class DesktopPresence final : public QObject, private MediaPlayerBusDelegate {
    Q_OBJECT
public:
    explicit DesktopPresence(MainWindowCtr &mainWindow);

    /// Takes the name on the bus.
    void start();
    bool hasTray() const { return tray_.isAvailable(); }

private:
    void recordValueChanged();

    void raiseWindow() override;
    void quitProgram() override;
    void playPause() override;
    void startPlaying() override;
    void pausePlaying() override;
    void stopPlaying() override;
    void playNext() override;
    void playPrevious() override;
    void seekTo(qint64 milliseconds) override;
    void changeVolume(double volume) override;
    SongPtr playedSong() const override;
    bool isPlaying() const override;
    bool canPlay() const override;
    bool canGoNext() const override;
    bool canGoPrevious() const override;
    qint64 playedMilliseconds() const override;
    qint64 durationMilliseconds() const override;
    double volume() const override;

    MainWindowCtr &mainWindow_;
    TrayItem tray_;
    MediaPlayerBus *bus_; // child
    QTimer dockTimer_;
    qint64 shownIcon_ = 0; // its cache key
};
