// Owns the one main window and is the hub of what happens in it: starts and stops recording, receives the recorded
// tracks, switches between the pages, and connects the session, the library, menus and controls.
//
// Threads: main.
#pragma once

#include "app/HeardRecordings.h"
#include "app/IdentifyGate.h"
#include "app/MainMenu.h"
#include "capture/RecordViewCtr.h"
#include "identify/local/LocalRecords.h"
#include "library/LibraryCtr.h"
#include "platform/desktop/SleepInhibitor.h"
#include "tags/access/TagWriteOutcome.h"
#include "views/controls/SoundSlider.h"
#include "views/window/MainWindowView.h"

#include <QObject>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

/// What the Recording Extra is, for the questions about it.
QString recordingExtraText();

enum class MainTab { Recording = 0, Library = 1 };

class LibraryPage;

class MainWindowCtr final : public QObject,
                            public RecordViewCtrDelegate,
                            public LibraryCtrDelegate,
                            public MainMenuDelegate,
                            public SoundSliderDelegate {
    Q_OBJECT
public:
    /// Opens the library, then builds the recording session and the library page.
    explicit MainWindowCtr(const InputUnitFactory &makeInputUnit);
    ~MainWindowCtr() override;

    /// Starts recording, or stops it. Nothing while it asks for the capture device, or once the window has closed.
    void recorder();
    /// Cuts to another recording; nothing unless one runs.
    void recorderCut();
    /// The Record button's state. It stays true, and nothing records, after an attempt to record into a folder that may
    /// not be written: the next press then takes the way of a stop.
    bool isRecording() const override { return isRecording_; }
    QStringList pathsInProgress() const override { return recordViewCtr_->pathsInProgress(); }
    bool isDisplayRecordView() const override { return selectedView_ == MainTab::Recording; }

    /// Switches the page; nothing if it is shown already.
    void changeView(MainTab tab);
    /// Goes to a track that was recorded in this run.
    void findNewRecordItem(const SongPtr &song, bool isPlay) override;
    /// From 0 to 1, for what is played.
    void setVolume(float volume);

    /// Nothing while tracks are being identified: the line tells of that then.
    void displayStatus(const QString &status) override;
    /// Offers to install the capture device, and tells the outcome. True once it is installed.
    bool showInstallDevice();
    void listenAudio() { recordViewCtr_->listenAudio(); }
    /// Shows the window, in front of all others.
    void showWindow();
    /// Tells the user in a dialog, a moment later, so that the window stands behind it at the start. What else is told
    /// until then stands in the same dialog, under its own message.
    void tellOnceShown(const QString &message, const QString &text);
    /// Ends recording and closes the library. The end of the process follows.
    void mainWindowWillClose();
    bool mainExiting() const override { return mainExiting_; }

    /// Reads the tracks of the library on a thread of its own, so that the window need not wait for them.
    void loadTracks();
    /// What quitting does, asked for by the menu or the bus.
    void setTerminate(std::function<void()> terminate) { terminate_ = std::move(terminate); }
    void quit() { terminate_(); }
    /// Whether something beside the window shows that the program runs.
    void setHasTray(std::function<bool()> hasTray) { hasTray_ = std::move(hasTray); }

    void recordedSongDidLast(const SongItem &song, uint64_t fromHostTime, uint64_t toHostTime) override;
    void recordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType forDeviceType) override;
    void showRecordView() override;
    int recordTracksNum() const override { return recordTracksNum_; }
    void setRecordTracksNum(int count) override { recordTracksNum_ = count; }
    void recordingDidFail(const QString &path, const QString &reason) override;
    void recordedFileDidFail(const QString &path, const QString &reason) override;
    void recordingDidLoseSound(const QString &path, float seconds) override;
    void showPlayView(bool isSpectrum) override;
    void didPlaySong() override { ++musicPlayNum_; }
    void playbackDidChange() override { emit playbackDidChanged(); }
    void playbackDidSeek() override { emit playbackDidSeeked(); }
    void tagsWereNotWritten(const SongItem &song, TagWriteOutcome outcome) override;
    void coverWasRefused(const QString &reason) override;
    /// Where nobody can be asked the gate says so.
    bool canIdentify() const override { return true; }
    void getID3WithSongItem(const SongPtr &song) override { identifyGate_->getID3WithSongItem(song); }
    void getID3WithSongItems(const SongArray &songs, bool isMutableGet) override {
        identifyGate_->getID3WithSongItems(songs, isMutableGet);
    }
    void libraryWasNotWritten(const QString &consequence) override;
    /// Tracks played in this run.
    int musicPlayNum() const { return musicPlayNum_; }

    MainMenu &mainMenu() { return *mainMenu_; }
    MainWindowView &window() { return window_; }
    RecordViewCtr &recordViewCtr() { return *recordViewCtr_; }
    LibraryCtr &libraryCtr() { return *libraryCtr_; }
    IdentifyGate &identifyGate() { return *identifyGate_; }

signals:
    /// Something of what plays may be different now.
    void playbackDidChanged();
    void playbackDidSeeked();

private:
    void loadLibrary();
    void connectMenu();
    bool validateMenuItem(MenuItem item, const QString &title) override;
    QString titleOfMenuItem(MenuItem item, const QString &title) override;
    void volumeDidChanged(float volume) override;
    void focusSearchField();
    void showAbout();
    void showIdentification();
    bool hasCaptureDevice();
    void tellOfTags(const SongItem &song, TagWriteOutcome outcome);
    void setNoRecordStatus();
    void changeControlsState(bool isRecording);
    void showTab();
    bool windowShouldClose();

    MainWindowView window_;
    LibraryPage *libraryPage_; // child of the window
    std::unique_ptr<RecordViewCtr> recordViewCtr_;
    std::unique_ptr<LibraryCtr> libraryCtr_;
    std::unique_ptr<IdentifyGate> identifyGate_;
    SleepInhibitor sleepInhibitor_;
    HeardRecordings heardRecordings_{LocalRecords::defaultRecords().names()};
    std::unique_ptr<MainMenu> mainMenu_;
    std::function<void()> terminate_ = [] {};
    std::function<bool()> hasTray_ = [] { return false; };
    std::thread loading_;                            // of loadTracks()
    QList<std::pair<QString, QString>> pendingNews_; // of tellOnceShown()
    MainTab selectedView_ = MainTab::Recording;
    bool isRecording_ = false;
    bool asksForDevice_ = false;
    bool hasToldOfTags_ = false; // once in a run
    QString notWrittenPath_;     // of the last file that did not take an edit
    bool mainExiting_ = false;
    int recordTracksNum_ = 0;
    int musicPlayNum_ = 0;
};
