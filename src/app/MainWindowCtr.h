// Owns the one main window and drives what the user sees in it: starts and stops recording, and receives the recorded
// tracks.
//
// Threads: main.
#pragma once

#include "capture/RecordViewCtr.h"
#include "library/LibraryCtr.h"
#include "platform/desktop/SleepInhibitor.h"
#include "tags/access/TagWriteOutcome.h"
#include "views/window/MainWindowView.h"

#include <QAction>
#include <QObject>
#include <functional>
#include <memory>

class MainWindowCtr final : public QObject, public RecordViewCtrDelegate, public LibraryCtrDelegate {
    Q_OBJECT
public:
    /// Opens the library, then builds the recording session and the library's lists.
    explicit MainWindowCtr(const InputUnitFactory &makeInputUnit);
    ~MainWindowCtr() override;

    /// Starts recording, or stops it. Nothing while it asks for the capture device, or once the window has closed.
    void recorder();
    /// Cuts to another recording; nothing unless one runs.
    void recorderCut();
    /// The Record button's state. It stays true, and nothing records, after an attempt to record into a folder that may
    /// not be written: the next press then takes the way of a stop.
    bool isRecording() const { return isRecording_; }

    void displayStatus(const QString &status) override;
    void listenAudio() { recordViewCtr_->listenAudio(); }
    /// Shows the window, in front of all others.
    void showWindow();
    /// Tells the user in a dialog, a moment later, so that the window stands behind it at the start. What else is told
    /// until then stands in the same dialog.
    void tellOnceShown(const QString &message, const QString &text);
    /// Ends recording and closes the library. The end of the process follows.
    void mainWindowWillClose();
    bool mainExiting() const { return mainExiting_; }

    /// What the Quit item of the menu does.
    void setTerminate(std::function<void()> terminate) { terminate_ = std::move(terminate); }

    void recordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType forDeviceType) override;
    void showRecordView() override;
    int recordTracksNum() const override { return recordTracksNum_; }
    void setRecordTracksNum(int count) override { recordTracksNum_ = count; }
    void recordingDidFail(const QString &path, const QString &reason) override;
    void recordedFileDidFail(const QString &path, const QString &reason) override;
    void recordingDidLoseSound(const QString &path, float seconds) override;

    MainWindowView &window() { return window_; }
    RecordViewCtr &recordViewCtr() { return *recordViewCtr_; }
    LibraryCtr &libraryCtr() { return *libraryCtr_; }

private:
    void loadLibrary();
    void fillMenu();
    bool hasCaptureDevice();
    void tellOfTags(const SongItem &song, TagWriteOutcome outcome);
    void setNoRecordStatus();
    void changeControlsState(bool isRecording);
    bool showInstallDevice();
    bool windowShouldClose();

    MainWindowView window_;
    std::unique_ptr<RecordViewCtr> recordViewCtr_;
    std::unique_ptr<LibraryCtr> libraryCtr_;
    SleepInhibitor sleepInhibitor_;
    QAction recorderMenuItem_;
    QAction cutMenuItem_;
    QAction quitMenuItem_;
    std::function<void()> terminate_ = [] {};
    QStringList pendingTexts_; // of tellOnceShown()
    bool isRecording_ = false;
    bool asksForDevice_ = false;
    bool hasToldOfTags_ = false; // once in a run
    bool mainExiting_ = false;
    int recordTracksNum_ = 0;
};
