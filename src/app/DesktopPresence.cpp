#include "app/DesktopPresence.h"

#include "app/MainMenu.h"
#include "app/MainWindowCtr.h"
#include "views/window/DockContentView.h"

#include <chrono>
#include <utility>

namespace {
constexpr std::chrono::seconds kDockPeriod{1};
}

DesktopPresence::DesktopPresence(MainWindowCtr &mainWindow)
    : mainWindow_(mainWindow),
      tray_(mainWindow.mainMenu().trayMenu(), QStringLiteral("Tessarine Corvidia"), /*parent=*/nullptr),
      bus_(new MediaPlayerBus(*this, this)) {
    recordValueChanged();
    connect(&tray_, &TrayItem::raiseWanted, this, [this] { mainWindow_.showWindow(); });
    connect(&mainWindow, &MainWindowCtr::playbackDidChanged, bus_, &MediaPlayerBus::changed);
    connect(&mainWindow, &MainWindowCtr::playbackDidSeeked, this, [this] { bus_->seeked(playedMilliseconds()); });
    connect(&dockTimer_, &QTimer::timeout, this, &DesktopPresence::recordValueChanged);
}

void DesktopPresence::start() {
    dockTimer_.start(kDockPeriod);
    bus_->connectToBus();
}

void DesktopPresence::recordValueChanged() {
    const QIcon icon = DockContentView::shared().display();
    if (icon.cacheKey() == std::exchange(shownIcon_, icon.cacheKey()))
        return;
    tray_.setIcon(icon);
    mainWindow_.window().setWindowIcon(icon);
}

// What the bus asks for

void DesktopPresence::raiseWindow() { mainWindow_.showWindow(); }
void DesktopPresence::quitProgram() { mainWindow_.quit(); }
void DesktopPresence::seekTo(qint64 milliseconds) { mainWindow_.libraryCtr().playCtr().seekTo(milliseconds); }
void DesktopPresence::changeVolume(double volume) { mainWindow_.setVolume(static_cast<float>(volume)); }

void DesktopPresence::playPause() { mainWindow_.libraryCtr().playCtr().play(); }

void DesktopPresence::startPlaying() {
    if (!isPlaying())
        playPause();
}

void DesktopPresence::pausePlaying() {
    if (isPlaying())
        playPause();
}

void DesktopPresence::stopPlaying() {
    if (playedSong())
        mainWindow_.libraryCtr().playCtr().stopPlay();
}

void DesktopPresence::playNext() { mainWindow_.libraryCtr().playCtr().playNext(); }
void DesktopPresence::playPrevious() { mainWindow_.libraryCtr().playCtr().playPrevious(); }

SongPtr DesktopPresence::playedSong() const { return mainWindow_.libraryCtr().playCtr().playItem(); }
bool DesktopPresence::isPlaying() const { return mainWindow_.libraryCtr().playCtr().isPlaying(); }
bool DesktopPresence::canPlay() const { return mainWindow_.libraryCtr().playCtr().canPlay(); }
bool DesktopPresence::canGoNext() const { return mainWindow_.libraryCtr().playCtr().hasNext(); }
bool DesktopPresence::canGoPrevious() const { return mainWindow_.libraryCtr().playCtr().hasPrevious(); }
double DesktopPresence::volume() const { return static_cast<double>(mainWindow_.libraryCtr().playCtr().volume()); }

qint64 DesktopPresence::playedMilliseconds() const { return mainWindow_.libraryCtr().playCtr().playedMilliseconds(); }

qint64 DesktopPresence::durationMilliseconds() const {
    return mainWindow_.libraryCtr().playCtr().durationMilliseconds();
}
