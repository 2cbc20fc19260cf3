#include "app/MainWindowCtr.h"

#include "capture/CaptureDevice.h"
#include "platform/desktop/Panel.h"
#include "platform/files/Folders.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "store/LibraryFile.h"
#include "tags/access/FirstTags.h"
#include "tags/audio/AudioConverter.h"
#include "views/controls/SketchButton.h"
#include "views/recording/RecordingPage.h"
#include "views/window/DisplayBox.h"
#include "views/window/StatusLine.h"

#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <utility>

namespace {
constexpr double kTellSeconds = 0.3; // so long other news of the same cause are waited for

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

void tell(const QString &message, const QString &text) { runPanel({message, text, {localizedString("OK")}, {}}); }
} // namespace

MainWindowCtr::MainWindowCtr(const InputUnitFactory &makeInputUnit)
    : sleepInhibitor_(localizedString("Music is being recorded")) {
    loadLibrary();
    recordViewCtr_ = std::make_unique<RecordViewCtr>(makeInputUnit, *window_.recordingPage(), *window_.displayBox());
    recordViewCtr_->setDelegate(this);
    libraryCtr_ = std::make_unique<LibraryCtr>(*this);
    window_.setWindowTitle(kApplicationFolderName);
    recordViewCtr_->getRecordingSpectrumView()->hide();
    window_.setShouldClose([this] { return windowShouldClose(); });
    connect(window_.recordingBtn(), &SketchButton::clicked, this, &MainWindowCtr::recorder);
    connect(window_.cutBtn(), &SketchButton::clicked, this, &MainWindowCtr::recorderCut);
    fillMenu();
    window_.showPage(*window_.recordingPage());
    changeControlsState(isRecording_);
}

MainWindowCtr::~MainWindowCtr() { recordViewCtr_->setDelegate(nullptr); }

void MainWindowCtr::fillMenu() {
    recorderMenuItem_.setShortcut(QKeySequence("Ctrl+R"));
    cutMenuItem_.setText(localizedString("Cut to another recording"));
    cutMenuItem_.setShortcut(QKeySequence("Ctrl+K"));
    quitMenuItem_.setText(localizedString("Quit"));
    quitMenuItem_.setShortcut(QKeySequence::Quit);
    connect(&recorderMenuItem_, &QAction::triggered, this, &MainWindowCtr::recorder);
    connect(&cutMenuItem_, &QAction::triggered, this, &MainWindowCtr::recorderCut);
    connect(&quitMenuItem_, &QAction::triggered, this, [this] { terminate_(); });
    QMenu &menu = *window_.menu();
    menu.addAction(&recorderMenuItem_);
    menu.addAction(&cutMenuItem_);
    menu.addSeparator();
    menu.addAction(&quitMenuItem_);
    // An action answers its shortcut only in a window that holds it.
    window_.addActions({&recorderMenuItem_, &cutMenuItem_, &quitMenuItem_});
}

void MainWindowCtr::loadLibrary() {
    const QString path = defaultLibraryPath();
    const LibraryState state = libraryStateOf(path);
    if (state == LibraryState::NotADatabase || state == LibraryState::OtherColumns) {
        const QString kept = setAsideLibrary(path);
        if (kept.isNull())
            tellOnceShown(localizedString("The library can't be read"),
                          localizedString("%1 is no library of this program, and it could not be moved out of the way. "
                                          "New recordings are kept as files, but not listed.")
                              .arg(path));
        else
            tellOnceShown(
                localizedString("A new library was begun"),
                localizedString("The old one can't be read. Nothing in it was changed, it is now:\n%1").arg(kept));
    }
    const bool isLoaded = DataBaseManager::defaultManager().loadDataBase();
    if (state == LibraryState::Locked || state == LibraryState::NotOpenable ||
        (state == LibraryState::Missing && !isLoaded))
        tellOnceShown(localizedString("The library can't be opened"),
                      localizedString("%1 is in use by another program, may not be read, or stands on a full disk. New "
                                      "recordings are kept as files, but not listed, until it can be opened.")
                          .arg(path));
}

void MainWindowCtr::tellOnceShown(const QString &message, const QString &text) {
    pendingTexts_ << text;
    if (pendingTexts_.size() > 1)
        return;
    // One cause, a full disk for one, may have several things told of it: they share a dialog.
    performAfterDelay(kTellSeconds, this, [this, message] {
        QStringList texts = std::exchange(pendingTexts_, {});
        texts.removeDuplicates();
        tell(message, texts.join("\n\n"));
    });
}

// Recording

void MainWindowCtr::recorder() {
    // While a question stands, calls over the bus and a signal to end come through.
    if (asksForDevice_ || mainExiting_)
        return;
    isRecording_ = !isRecording_;
    if (!isRecording_) {
        recordViewCtr_->stopRecordingFile();
    } else {
        const auto exportType = static_cast<ExportType>(defaults().integerForKey("DefaultExportFileType"));
        const auto qualityType = static_cast<int>(defaults().integerForKey("DefaultERecordQualityType"));
        const QString folder = defaults().stringForKey("MusicsOutputLocation");
        // The flip stays: the next press takes the way of a stop.
        if (QFile::exists(folder) && isDraggingDestPermited(folder))
            return;
        asksForDevice_ = true;
        const bool isReady = hasCaptureDevice();
        asksForDevice_ = false;
        if (mainExiting_)
            return;
        if (!isReady) {
            setNoRecordStatus();
            return;
        }
        recordViewCtr_->startRecordingFile(exportType, qualityType, DeviceType::SystemAudio,
                                           getInPutAudioDeviceIDForName(kCaptureDeviceName));
    }
    showRecordView();
    changeControlsState(isRecording_);
}

bool MainWindowCtr::hasCaptureDevice() {
    if (!isInstallAudioDeviceWithClassName(kCaptureDeviceClass)) {
        const bool isInstalled = showInstallDevice();
        if (!mainExiting_)
            recordViewCtr_->listenAudio();
        return isInstalled;
    }
    // Asked with the class and not with a device's name, so that the launch always runs.
    if (!isLaunchedRequiredAudioDevice(kCaptureDeviceClass) && !launchAudioDeviceWithClassName(kCaptureDeviceClass)) {
        displayStatus(localizedString("There is no sound server to record from"));
        return false;
    }
    return true;
}

void MainWindowCtr::recorderCut() { recordViewCtr_->inciseRecordingFile(); }

void MainWindowCtr::setNoRecordStatus() {
    isRecording_ = !isRecording_;
    changeControlsState(isRecording_);
}

void MainWindowCtr::changeControlsState(bool isRecording) {
    window_.cutBtn()->setEnabled(isRecording);
    cutMenuItem_.setEnabled(isRecording);
    window_.recordingBtn()->setImages(isRecording ? recorderStopImages() : recorderImages(),
                                      localizedString(isRecording ? "Stop" : "Record"));
    recorderMenuItem_.setText(localizedString(isRecording ? "Stop Recording" : "Start Recording"));
    sleepInhibitor_.setActive(isRecording);
}

bool MainWindowCtr::showInstallDevice() {
    const Panel offer{localizedString("Install Recording Extra"),
                      localizedString("This Extra is necessary for recording losslessly. It is "
                                      "absolutely safety, and "
                                      "you can uninstall it in the menu if you want."),
                      {localizedString("Install"), localizedString("Cancel")},
                      {}};
    if (runPanel(offer).button != 0)
        return false;
    if (!installAudioDevice(kCaptureDriverName)) {
        tell(localizedString("Install failed!"), " ");
        return false;
    }
    tell(localizedString("Install successed!"), " ");
    if (mainExiting_)
        return false;
    launchAudioDeviceWithClassName(kCaptureDeviceClass);
    return true;
}

void MainWindowCtr::recordedSongItem(const std::shared_ptr<SongItem> &song, [[maybe_unused]] DeviceType forDeviceType) {
    if (song)
        tellOfTags(*song, writeID3(*song));
    if (mainExiting_ || !song)
        return;
    libraryCtr_->addNewRecordingSong(song);
}

void MainWindowCtr::tellOfTags(const SongItem &song, TagWriteOutcome outcome) {
    if (outcome == TagWriteOutcome::Written)
        return;
    logLine(
        QStringLiteral("no tags in %1: outcome %2").arg(song.songPath(), QString::number(static_cast<int>(outcome))));
    // A file in which no sound is found has nobody who would miss its tags.
    if (outcome == TagWriteOutcome::OtherFormat || std::exchange(hasToldOfTags_, true))
        return;
    const QString reason = localizedString(outcome == TagWriteOutcome::DiskFull      ? "The disk is full."
                                           : outcome == TagWriteOutcome::NotWritable ? "It may not be written."
                                           : outcome == TagWriteOutcome::Refused     ? "Other tags in it would be lost."
                                                                                     : "It could not be written.");
    tellOnceShown(localizedString("A recording has no title in its file"),
                  localizedString("%1 can't be given its tags. The recording itself is whole.\n\n%2")
                      .arg(QFileInfo(song.songPath()).fileName(), reason));
}

void MainWindowCtr::recordingDidFail(const QString &path, const QString &reason) {
    if (isRecording_)
        setNoRecordStatus();
    tellOnceShown(localizedString("The recording was stopped"),
                  localizedString("%1 can't be written: %2\n\nWhat was recorded before is kept.")
                      .arg(QFileInfo(path).fileName(), reason));
}

void MainWindowCtr::recordedFileDidFail(const QString &path, const QString &reason) {
    tellOnceShown(localizedString("A recording could not be finished"),
                  localizedString("%1 can't be written: %2\n\nWhat was recorded before is kept.")
                      .arg(QFileInfo(path).fileName(), reason));
}

void MainWindowCtr::recordingDidLoseSound(const QString &path, float seconds) {
    tellOnceShown(localizedString("Sound is missing in a recording"),
                  localizedString("%1 lacks %2 seconds of sound. The log says why, and tells of any more that is lost.")
                      .arg(QFileInfo(path).fileName(), QString::number(static_cast<double>(seconds), 'f', 1)));
}

// The window

void MainWindowCtr::showRecordView() {
    window_.displayBox()->setBackgroundImage("BoxBackground");
    recordViewCtr_->getRecordingSpectrumView()->show();
}

void MainWindowCtr::displayStatus(const QString &status) { window_.lblStatus()->setStatus(status); }

void MainWindowCtr::showWindow() {
    window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
    window_.show();
    window_.raise();
    window_.activateWindow();
}

bool MainWindowCtr::windowShouldClose() {
    window_.hide();
    return false;
}

void MainWindowCtr::mainWindowWillClose() {
    mainExiting_ = true;
    recordViewCtr_->stopRecordingFile();
    isRecording_ = false;
    changeControlsState(isRecording_);
    stopAudioDeviceWithClassName(kCaptureDeviceClass);
    AudioConverter::Uninitialize();
    DataBaseManager::defaultManager().closeDataBase();
}
