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
#include "views/controls/SearchField.h"
#include "views/controls/SketchButton.h"
#include "views/controls/TextButton.h"
#include "views/dialogs/IdentificationView.h"
#include "views/recording/RecordingPage.h"
#include "views/window/DisplayBox.h"
#include "views/window/LibraryPage.h"
#include "views/window/PlayPanel.h"
#include "views/window/StatusLine.h"
#include "views/window/TabButton.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPointer>
#include <algorithm>
#include <utility>

namespace {
constexpr double kTellSeconds = 0.3; // so long other news of the same cause are waited for
constexpr const char *kHasToldOfHiding = "HasToldOfHiding";

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

void tell(const QString &message, const QString &text) { runPanel({message, text, {localizedString("OK")}, {}}); }

QString reasonOf(TagWriteOutcome outcome) {
    switch (outcome) {
    case TagWriteOutcome::DiskFull:
        return localizedString("The disk is full.");
    case TagWriteOutcome::NotWritable:
        return localizedString("It may not be written.");
    case TagWriteOutcome::Refused:
        return localizedString("Other tags in it would be lost.");
    case TagWriteOutcome::OtherFormat:
        return localizedString("It is missing, or holds no sound that can have tags.");
    default:
        return localizedString("It could not be written.");
    }
}
} // namespace

QString recordingExtraText() {
    return localizedString("This Extra is necessary for recording losslessly. It is absolutely safety, and you can "
                           "uninstall it in the menu if you want.");
}

MainWindowCtr::MainWindowCtr(const InputUnitFactory &makeInputUnit)
    : libraryPage_(new LibraryPage(&window_)), sleepInhibitor_(localizedString("Music is being recorded")) {
    window_.addPage(*libraryPage_);
    loadLibrary();
    DataBaseManager::defaultManager().setLibraryDidChange(
        [] { LocalRecords::defaultRecords().filler().libraryDidChange(); });
    recordViewCtr_ = std::make_unique<RecordViewCtr>(makeInputUnit, *window_.recordingPage(), *window_.displayBox());
    recordViewCtr_->setDelegate(this);
    libraryCtr_ = std::make_unique<LibraryCtr>(
        *this, LibraryViews{*libraryPage_,
                            *window_.playBtn(),
                            *window_.displayBox()->playPanel(),
                            *window_.searchField(),
                            {window_.filteradsBtn(), window_.showFinderBtn(), window_.addToItunesBtn()},
                            *window_.editBtn()});
    identifyGate_ = std::make_unique<IdentifyGate>(*libraryCtr_, window_);
    window_.soundSlider()->setDelegate(this);
    setVolume(libraryCtr_->playCtr().volume());
    window_.setWindowTitle(kApplicationFolderName);
    window_.setShouldClose([this] { return windowShouldClose(); });
    connect(window_.recordingBtn(), &SketchButton::clicked, this, &MainWindowCtr::recorder);
    connect(window_.cutBtn(), &SketchButton::clicked, this, &MainWindowCtr::recorderCut);
    connect(window_.recorderBtn(), &TabButton::clicked, this, [this] { changeView(MainTab::Recording); });
    connect(window_.libraryBtn(), &TabButton::clicked, this, [this] { changeView(MainTab::Library); });
    connect(window_.minVolumeBtn(), &SketchButton::clicked, this, [this] { setVolume(0); });
    connect(window_.maxVolumeBtn(), &SketchButton::clicked, this, [this] { setVolume(1); });
    mainMenu_ = std::make_unique<MainMenu>(*this, *window_.menu(), window_);
    connectMenu();
    showTab();
    changeControlsState(isRecording_);
}

MainWindowCtr::~MainWindowCtr() {
    if (loading_.joinable())
        loading_.join();
    recordViewCtr_->setDelegate(nullptr);
}

// Menu

void MainWindowCtr::connectMenu() {
    using enum MenuItem;
    ListViewCtr &list = libraryCtr_->listViewCtr();
    PlayCtr &player = libraryCtr_->playCtr();
    const auto onLibrary = [this](std::function<void()> work) {
        return [this, work = std::move(work)] {
            if (!isDisplayRecordView() && !libraryCtr_->isToolKitShown())
                work();
        };
    };
    mainMenu_->onChoice(Record, [this] { recorder(); });
    mainMenu_->onChoice(Cut, [this] { recorderCut(); });
    mainMenu_->onChoice(Play, [&player] { player.play(); });
    mainMenu_->onChoice(ImportLocalAudio, [this] {
        if (!isDisplayRecordView())
            libraryCtr_->importCtr().importLocalFiles();
    });
    mainMenu_->onChoice(Next, [&player] { player.playNext(); });
    mainMenu_->onChoice(Previous, [&player] { player.playPrevious(); });
    mainMenu_->onChoice(ShowPlayed, [this, &player] {
        if (!player.playItem())
            return;
        changeView(MainTab::Library);
        libraryCtr_->showPlayedItem();
    });
    mainMenu_->onChoice(Filter, onLibrary([this] {
                            if (window_.filteradsBtn()->isEnabled())
                                libraryCtr_->filterAds();
                        }));
    mainMenu_->onChoice(SelectAll, onLibrary([&list] { list.selectAll(); }));
    mainMenu_->onChoice(Find, [this] { focusSearchField(); });
    mainMenu_->onChoice(ShowFile, onLibrary([&list] { list.showInFinder(); }));
    mainMenu_->onChoice(EditTags, onLibrary([this] { libraryCtr_->toggleEdit(); }));
    mainMenu_->onChoice(Delete, onLibrary([this] { libraryCtr_->deleteItems(); }));
    mainMenu_->onChoice(ShowRecording, [this] { changeView(MainTab::Recording); });
    mainMenu_->onChoice(ShowLibrary, [this] { changeView(MainTab::Library); });
    mainMenu_->onChoice(Identification, [this] { showIdentification(); });
    mainMenu_->onChoice(About, [this] { showAbout(); });
    mainMenu_->onChoice(Quit, [this] { quit(); });
    mainMenu_->onChoice(ShowWindow, [this] { showWindow(); });
}

bool MainWindowCtr::validateMenuItem(MenuItem item, const QString &title) {
    if (QApplication::activeModalWidget())
        return false;
    const PlayCtr &player = libraryCtr_->playCtr();
    switch (item) {
    case MenuItem::Cut:
        return isRecording_;
    case MenuItem::InstallDevice:
        return !isRecording_;
    case MenuItem::Next:
        return !isRecording_ && player.hasNext();
    case MenuItem::Previous:
        return !isRecording_ && player.hasPrevious();
    case MenuItem::ShowPlayed:
        return player.playItem() != nullptr;
    case MenuItem::SelectAll:
    case MenuItem::EditTags:
    case MenuItem::ShowFile:
        return !isDisplayRecordView() && !libraryCtr_->isToolKitShown() && libraryCtr_->getSelectedItem();
    case MenuItem::Filter:
        return !isDisplayRecordView() && window_.filteradsBtn()->isEnabled();
    case MenuItem::Play:
    case MenuItem::ImportLocalAudio:
    case MenuItem::Delete:
        return libraryCtr_->pageControls().validateMenuItem(title);
    default:
        return true;
    }
}

QString MainWindowCtr::titleOfMenuItem(MenuItem item, const QString &title) {
    switch (item) {
    case MenuItem::Record:
        return localizedString(isRecording_ ? "Stop Recording" : "Start Recording");
    case MenuItem::Play:
        return libraryCtr_->pageControls().changePlayMenuItem(title);
    case MenuItem::InstallDevice:
        return localizedString(isInstallAudioDeviceWithClassName(kCaptureDeviceClass) ? "Uninstall Recording Extra..."
                                                                                      : "Install Recording Extra...");
    default:
        return title;
    }
}

void MainWindowCtr::focusSearchField() {
    changeView(MainTab::Library);
    window_.searchField()->setFocus(Qt::ShortcutFocusReason);
    window_.searchField()->selectAll();
}

void MainWindowCtr::showIdentification() {
    auto *view = new IdentificationView(&window_);
    connect(view, &IdentificationView::settingsDidChange, this, [this] {
        identifyGate_->settingsDidChange();
        heardRecordings_.setRecording(isRecording_);
    });
    view->open();
}

void MainWindowCtr::showAbout() {
    runPanel({mainMenu_->action(MenuItem::About).text(),
              localizedString("Version %1\n\nRecords what this computer plays, and keeps it as a library of tracks.")
                  .arg(QApplication::applicationVersion()),
              {localizedString("OK")},
              {}});
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
        tellOnceShown(
            localizedString("The library can't be opened"),
            localizedString("%1 is in use by another program, may not be read or written, or stands on a full "
                            "disk. New recordings are kept as files, but not listed, until it can be opened.")
                .arg(path));
}

void MainWindowCtr::loadTracks() {
    loading_ = std::thread([self = QPointer(this)] {
        const auto loaded =
            std::make_shared<TrackLists>(DataBaseManager::defaultManager().getAllSongItems().value_or(SongArray()));
        performOnMainThread([self, loaded] {
            if (!self)
                return;
            self->libraryCtr_->takeTracks(std::move(*loaded));
            if (!self->mainExiting_)
                LocalRecords::defaultRecords().filler().start();
        });
    });
}

void MainWindowCtr::tellOnceShown(const QString &message, const QString &text) {
    if (pendingNews_.contains(std::pair(message, text)))
        return;
    pendingNews_.append({message, text});
    if (pendingNews_.size() > 1)
        return;
    // One cause, a full disk for one, may have several things told of it: they share a dialog.
    performAfterDelay(kTellSeconds, this, [this] {
        auto news = std::exchange(pendingNews_, {});
        QString heading = news.first().first;
        std::stable_partition(news.begin(), news.end(), [&heading](const auto &item) { return item.first == heading; });
        QStringList texts;
        for (const auto &item : std::as_const(news)) {
            if (item.first != std::exchange(heading, item.first))
                texts << item.first;
            texts << item.second;
        }
        tell(news.first().first, texts.join("\n\n"));
    });
}

// Recording

void MainWindowCtr::recorder() {
    // While a question stands, calls over the bus and a signal to end come through.
    if (asksForDevice_ || mainExiting_)
        return;
    if (libraryCtr_->playCtr().playItem())
        libraryCtr_->playCtr().stopPlay();
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
    PlayCtr &player = libraryCtr_->playCtr();
    window_.cutBtn()->setEnabled(isRecording);
    window_.recordingBtn()->setImages(isRecording ? recorderStopImages() : recorderImages(),
                                      localizedString(isRecording ? "Stop" : "Record"));
    if (isRecording && player.isPlaying())
        player.play();
    window_.soundSlider()->setIsEnable(!isRecording);
    window_.minVolumeBtn()->setEnabled(!isRecording);
    window_.maxVolumeBtn()->setEnabled(!isRecording);
    mainMenu_->updateTitles();
    sleepInhibitor_.setActive(isRecording);
    heardRecordings_.setRecording(isRecording);
    player.changePlayStatus();
}

bool MainWindowCtr::showInstallDevice() {
    const Panel offer{localizedString("Install Recording Extra"),
                      recordingExtraText(),
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

void MainWindowCtr::recordedSongDidLast(const SongItem &song, uint64_t fromHostTime, uint64_t toHostTime) {
    heardRecordings_.songWasRecorded(song.songID(), fromHostTime, toHostTime);
}

void MainWindowCtr::recordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType forDeviceType) {
    if (song)
        tellOfTags(*song, writeID3(*song));
    if (mainExiting_ || !song)
        return;
    libraryCtr_->addNewRecordingSong(song);
    if (forDeviceType == DeviceType::SystemAudio)
        identifyGate_->identifyRecording(song);
}

void MainWindowCtr::tellOfTags(const SongItem &song, TagWriteOutcome outcome) {
    if (outcome == TagWriteOutcome::Written)
        return;
    logLine(
        QStringLiteral("no tags in %1: outcome %2").arg(song.songPath(), QString::number(static_cast<int>(outcome))));
    // A file in which no sound is found has nobody who would miss its tags.
    if (outcome == TagWriteOutcome::OtherFormat || std::exchange(hasToldOfTags_, true))
        return;
    tellOnceShown(localizedString("A recording has no title in its file"),
                  localizedString("%1 can't be given its tags. What was recorded is kept.\n\n%2")
                      .arg(QFileInfo(song.songPath()).fileName(), reasonOf(outcome)));
}

void MainWindowCtr::tagsWereNotWritten(const SongItem &song, TagWriteOutcome outcome) {
    const QString name = QFileInfo(song.songPath()).fileName();
    displayStatus(localizedString("%1 did not take the changes. %2").arg(name, reasonOf(outcome)));
    // What is told of a file in the first place stands in a dialog, later changes of it need none.
    if (std::exchange(notWrittenPath_, song.songPath()) == song.songPath())
        return;
    tellOnceShown(
        localizedString("The file did not take the changes"),
        localizedString("The library has the new values, %1 has the old ones.\n\n%2").arg(name, reasonOf(outcome)));
}

void MainWindowCtr::coverWasRefused(const QString &reason) {
    tellOnceShown(localizedString("The picture can't be a cover"), reason);
}

void MainWindowCtr::libraryWasNotWritten(const QString &consequence) {
    tellOnceShown(localizedString("The library can't be written"),
                  localizedString("%1\n\nThe disk may be full, or %2 may not be written.")
                      .arg(consequence, defaultLibraryPath()));
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

void MainWindowCtr::changeView(MainTab tab) {
    if (tab == selectedView_)
        return;
    selectedView_ = tab;
    showTab();
}

void MainWindowCtr::showTab() {
    const bool isLibrary = selectedView_ == MainTab::Library;
    window_.setBelowHided(!isLibrary);
    window_.searchField()->setVisible(isLibrary);
    window_.editBtn()->setVisible(isLibrary);
    if (isLibrary)
        window_.showPage(*libraryPage_);
    else
        window_.showPage(*window_.recordingPage());
    window_.setButtonImage2(static_cast<int>(selectedView_));
    libraryCtr_->pageDidChange();
}

void MainWindowCtr::findNewRecordItem(const SongPtr &song, bool isPlay) {
    changeView(MainTab::Library);
    libraryCtr_->showNewRecordItem(song, isPlay);
}

// What plays goes on being shown while nothing records.
void MainWindowCtr::showRecordView() {
    if (!libraryCtr_->playCtr().isPlaying() || isRecording_)
        showPlayView(/*isSpectrum=*/true);
}

void MainWindowCtr::showPlayView(bool isSpectrum) { window_.displayBox()->showPlayPanel(!isSpectrum && !isRecording_); }

void MainWindowCtr::volumeDidChanged(float volume) { libraryCtr_->playCtr().setVolume(volume); }

void MainWindowCtr::setVolume(float volume) {
    window_.soundSlider()->setVolume(volume);
    volumeDidChanged(volume);
}

void MainWindowCtr::displayStatus(const QString &status) {
    if (!identifyGate_ || !identifyGate_->isGettingID3()) // the library is there first
        window_.lblStatus()->setStatus(status);
}

void MainWindowCtr::showWindow() {
    window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
    window_.show();
    window_.raise();
    window_.activateWindow();
}

bool MainWindowCtr::windowShouldClose() {
    if (mainExiting_) // the end of the program closes its windows, too
        return true;
    if (!hasTray_() && !defaults().boolForKey(kHasToldOfHiding)) {
        defaults().setBool(/*value=*/true, kHasToldOfHiding);
        tell(localizedString("The program goes on in the background"),
             localizedString("What is being recorded is recorded on. Start the program again to see its window; to end "
                             "it, choose Quit in its menu, or press Ctrl+Q."));
    }
    window_.hide();
    return false;
}

void MainWindowCtr::mainWindowWillClose() {
    mainExiting_ = true;
    if (libraryCtr_->playCtr().playItem())
        libraryCtr_->playCtr().stopPlay();
    libraryCtr_->editCtr().finish();
    recordViewCtr_->stopRecordingFile();
    isRecording_ = false;
    changeControlsState(isRecording_);
    stopAudioDeviceWithClassName(kCaptureDeviceClass);
    libraryCtr_->importCtr().finish();
    if (!identifyGate_->mainWindowWillClose()) // a worker uses the converter to its end
        AudioConverter::Uninitialize();
    libraryCtr_->identifyCtr().modifyGetingID3Status();
    LocalRecords::defaultRecords().filler().stop();
    DataBaseManager::defaultManager().closeDataBase();
}
