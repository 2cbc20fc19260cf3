// The way of every track to identification, and of what is found back to the library.
//
// Threads: main, but for NotifyGetID3ThreadWillExit(). The queue is brought up on a thread of its own, since the
// recogniser may take its time.
#pragma once

#include "identify/queue/GetMusicID3Controller.h"
#include "store/SongArray.h"
#include "views/dialogs/ConnectionSheet.h"

#include <QObject>
#include <QPointer>
#include <atomic>
#include <thread>

class LibraryCtr;
class MainWindowView;

class IdentifyGate final : public QObject, private GetMusicID3ControllerDelegate {
    Q_OBJECT
public:
    /// Both outlive it.
    IdentifyGate(LibraryCtr &library, MainWindowView &window);
    ~IdentifyGate() override;

    /// Brings up the queue. What is asked for meanwhile waits.
    void initGetID3Ctr();
    /// A source may have become usable.
    void settingsDidChange();

    /// The user asks for a track.
    void getID3WithSongItem(const SongPtr &song);
    /// The user asks for tracks; with `isMutableGet` for more than one.
    void getID3WithSongItems(const SongArray &songs, bool isMutableGet);
    /// Asks for a track that was just recorded, if the user wants that.
    void identifyRecording(const SongPtr &song);

    /// The queue works, and the status line is its own.
    bool isGettingID3() const;
    /// Null while the gate is open.
    ConnectionSheet *warningNetworkWnd() const { return warningNetworkWnd_; }
    /// Gives up what runs and what waits. False if there is no queue.
    bool mainWindowWillClose();

private:
    GetMusicID3Controller *usableController() const;
    void askForController(void (IdentifyGate::*then)(GetMusicID3Controller *));
    void getID3WhenNotInit(GetMusicID3Controller *controller);
    void retryDidEnd(GetMusicID3Controller *controller);
    void showConnectionSheet(const SongArray &songs);
    void retryConnect();
    void continueGetSongItems(const SongArray &songs);
    void getID3Arrays(const SongArray &songs);
    bool skipsShort20s(const SongPtr &song);
    bool isShort20s(const SongItem &song);
    void displayNomarlStatus();
    void showStatus(const char *key);

    void getID3DidBegin(int32_t songID) override;
    void getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex) override;
    void getID3DidFailWithError(int32_t songID) override;
    void getCoverImageDidFinish(const QStringList &paths, int32_t RecorderIndex) override;
    void getCoverImageDidFailWithError(int32_t songID) override;
    void NotifyGetID3ThreadWillExit() override;

    LibraryCtr &libraryCtr_;
    MainWindowView &window_;
    GetMusicID3Controller *g_GetMusicID3Controller_ = nullptr; // lives as long as the process
    bool g_IsInitingGetID3_ = false;
    std::thread creation_;
    SongArray marrSongItemsWhenNotInit_; // wait for the queue
    SongArray songsOfSheet_;             // wait for the user's answer
    QPointer<ConnectionSheet> warningNetworkWnd_;
    std::atomic<bool> mainExiting_ = false; // the main thread sets it once
};
