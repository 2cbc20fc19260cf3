#include "capture/RecordViewCtr.h"

#include "capture/CaptureDevice.h"
#include "platform/desktop/Panel.h"
#include "platform/files/Folders.h"
#include "platform/media/AvFile.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "store/TimeAndSizeText.h"
#include "tags/audio/AudioConverter.h"
#include "views/recording/RecordAnimationCtr.h"
#include "views/window/DockContentView.h"
#include "views/window/ReadyStatusPanel.h"

#include <QDir>
#include <QFile>
#include <QThread>
#include <unistd.h>

namespace {
constexpr double kClearUpSeconds = 0.2;
constexpr int kHighestColumn = 16;
constexpr int kSoundEndMilliseconds = 500;    // results come five times as often
constexpr double kShortestTrackSeconds = 0.5; // below it there is nothing to keep, whatever the filter says

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

QString configuredOutputFolder() {
    QString folder = defaults().stringForKey("MusicsOutputLocation");
    if (!folder.isEmpty() && QFile::exists(folder))
        return folder;
    folder = defaultMusicFolder();
    // A failure shows when the file is opened, with the system's own text.
    QDir().mkpath(folder);
    defaults().setObject(folder, "MusicsOutputLocation");
    return folder;
}
} // namespace

bool isDraggingDestPermited(const QString &folder) {
    const int result = access(QFile::encodeName(folder).constData(), W_OK);
    if (result == 0)
        return false;
    const QString format = localizedString("You do not have the privilege to save files here, "
                                           "please select another one.\n %@");
    runPanel({QString(format).replace("%@", folder), {}, {localizedString("OK")}, {}});
    return true;
}

RecordViewCtr::RecordViewCtr(const InputUnitFactory &makeInputUnit, RecordingPage &view, DisplayBox &recordSpectrum)
    : view_(view), recordSpectrum_(recordSpectrum), microRecord_(makeInputUnit) {
    NotificationCenter &center = NotificationCenter::defaultCenter();
    center.addObserver(this, "UpDateSongItemNotification", [this](const auto &news) { NotifyID3Change(news.object); });
    center.addObserver(this, "HasDeleteSongItemNotification",
                       [this](const auto &news) { NotifyDeleteSongItems(news.object); });
    center.addObserver(this, "HasRestoreSongItemNotification",
                       [this](const auto &news) { NotifyRestoreSongItems(news.object); });
    RecordAnimationCtr &scene = RecordAnimationCtr::recordAnimation();
    view_.setScene(*scene.view());
    animationdelegate_ = &scene;
    view_.setFlowView(*imageFlowViewCtr_.view());
    connect(&imageFlowViewCtr_, &ImageFlowViewCtr::countDidChange, this,
            [this] { view_.setHasTracks(imageFlowViewCtr_.countSongItem() > 0); });
    microRecord_.setDelegate(this);
    audioTransToPCMWave_.setDelegate(this);
    recordSpectrum_.spectrumView()->setDataSource(this);
    soundEnd_.setSingleShot(true);
    soundEnd_.setInterval(kSoundEndMilliseconds);
    soundEnd_.callOnTimeout([this] { clearSpectrum(); });
    connect(recordSpectrum_.spectrumView(), &SpectrumView::sightChanged, this, &RecordViewCtr::followSpectrum);
    followSpectrum();
    center.addObserver(this, "PluginInstallNotification", [this](const auto &) { devicesDidIstall(); });
    center.addObserver(this, "PluginUninstallNotification", [this](const auto &) { devicesDidUnistall(); });
    // Once the window is up: a sound server that does not answer shall not hold it.
    performAfterDelay(/*seconds=*/0, this, [this] {
        listenAudio();
        SoundServer::defaultServer().setInputDevicesChanged([this](const auto &devices) { devicesDidChange(devices); });
        if (defaultDeviceID_ == 0)
            defaultDeviceID_ = getDefaultAudioID();
    });
}

RecordViewCtr::~RecordViewCtr() {
    SoundServer::defaultServer().setInputDevicesChanged({});
    recordSpectrum_.spectrumView()->setDataSource(nullptr);
    microRecord_.setDelegate(nullptr);
}

void RecordViewCtr::setDelegate(RecordViewCtrDelegate *delegate) {
    delegate_ = delegate;
    imageFlowViewCtr_.setDelegate(delegate);
}

// Start, stop, cut

void RecordViewCtr::startRecordingFile(ExportType exportType, int forQualityType, DeviceType forDeviceType,
                                       DeviceID forDiveceID) {
    if (isCutting_) {
        afterCut_ << [=, this] { startRecordingFile(exportType, forQualityType, forDeviceType, forDiveceID); };
        return;
    }
    deviceType_ = forDeviceType;
    defaultDeviceID_ = forDiveceID;
    hasToldLoss_ = false;
    beginFile(exportType, forQualityType);
}

void RecordViewCtr::beginFile(ExportType exportType, int qualityType) {
    if (animationdelegate_)
        animationdelegate_->startMicrophoneAnimation();
    microRecord_.setDelegate(this);
    const RecordedFile file = getSaveFileName(exportType, deviceType_);
    openFiles_.insert(file.path, file);
    if (deviceType_ == DeviceType::SystemAudio)
        microRecord_.setAutoSplitTimeForMillisecond(defaults().integerForKey("AutoSplitTimeInterval"));
    microRecord_.setCutsAtSilence(splitsAtSilence());
    microRecord_.setRecordingFile(file.path, exportType, getBitrate(qualityType), defaultDeviceID_);
    // Answers false from the second recording on, since the unit runs already.
    microRecord_.startRecordAudio();
    changedRecordingStatus(RecordingStatus::Waiting);
    if (deviceType_ != DeviceType::SystemAudio)
        changedRecordingStatus(RecordingStatus::Recording);
    recordStarting_ = true;
    if (deviceType_ == DeviceType::Microphone && animationdelegate_)
        animationdelegate_->startNoteAnimation();
}

void RecordViewCtr::stopRecordingFile() {
    if (isCutting_) {
        afterCut_ << [this] { stopRecordingFile(); };
        return;
    }
    recordStarting_ = false;
    microRecord_.stopRecordAudioFile();
    if (recordStarting_)
        return; // a new recording was begun while the last file was being finished
    if (animationdelegate_) {
        animationdelegate_->stopNoteAnimation();
        animationdelegate_->stopMicrophoneAnimation();
    }
    changedRecordingStatus(RecordingStatus::Idle);
}

void RecordViewCtr::inciseRecordingFile() {
    if (!recordStarting_)
        return;
    if (isCutting_) {
        afterCut_ << [this] { inciseRecordingFile(); };
        return;
    }
    isCutting_ = true;
    {
        // The sound that comes meanwhile belongs to the next file.
        const AudioRecord::BlockHold hold(microRecord_);
        microRecord_.stopRecordAudioFile();
        if (animationdelegate_)
            animationdelegate_->stopNoteAnimation();
        beginFile(static_cast<ExportType>(defaults().integerForKey("DefaultExportFileType")),
                  static_cast<int>(defaults().integerForKey("DefaultERecordQualityType")));
    }
    isCutting_ = false;
    for (const auto &operation : std::exchange(afterCut_, {}))
        operation();
}

int RecordViewCtr::getBitrate(int qualityType) {
    switch (qualityType) {
    case 0:
        return 256'000;
    case 1:
        return 192'000;
    case 3:
        return 320'000;
    default:
        return 128'000;
    }
}

RecordViewCtr::RecordedFile RecordViewCtr::getSaveFileName(ExportType exportType, DeviceType deviceType) {
    const qint64 stored = defaults().integerForKey("TrackID");
    const qint64 number = stored == 0 ? 1 : stored;
    const QString ending = exportType == ExportType::MP3 ? QStringLiteral("mp3") : QStringLiteral("m4a");
    const QString base = configuredOutputFolder() + QStringLiteral("/Track%1_Unknown Artist").arg(number);
    QString path = base + '.' + ending;
    for (int copy = 1; QFile::exists(path); ++copy)
        path = base + QStringLiteral("(%1).").arg(copy) + ending;
    defaults().setInteger(number + 1, "TrackID");
    return {.path = path, .number = number, .deviceType = deviceType, .format = exportType};
}

// A finished file

void RecordViewCtr::recordedFileDidLast(const QString &path, uint64_t fromHostTime, uint64_t toHostTime) {
    if (const auto file = openFiles_.find(path); file != openFiles_.end()) {
        file->fromHostTime = fromHostTime;
        file->toHostTime = toHostTime;
    }
}

void RecordViewCtr::notifyRecordedFinish(const QString &path) {
    // Whatever happens while the file is being finished, another recording for one, this is what it was opened as.
    RecordedFile file = openFiles_.take(path);
    file.path = path;
    finishRecordedFile(file);
}

void RecordViewCtr::finishRecordedFile(const RecordedFile &file) {
    const qint64 size = AudioConverter::getFileSize(file.path);
    logLine(QStringLiteral("notifyRecordedFinish FileSize = %1").arg(size));
    QVariantMap info;
    {
        const AvRoom room; // a file of our own may be days long, and one that can't be read would be dropped
        info = AudioConverter::getAudioFileInfo(file.path).value_or(QVariantMap());
    }
    const QVariant length = info.value("LengthKey");
    const bool isFiltered = file.deviceType == DeviceType::SystemAudio && !nofiltrateAudioFile(length);
    if (isFiltered || length.toDouble() < kShortestTrackSeconds) {
        dropRecordedFile(file);
        return;
    }
    const std::shared_ptr<SongItem> song = keepRecordedFile(file, size, info);
    if (animationdelegate_)
        animationdelegate_->startCoverAnimation();
    imageFlowViewCtr_.addSongItemOnMainThread(song);
    if (animationdelegate_)
        animationdelegate_->stopCoverAnimation(); // it goes on to its end
    if (delegate_ && file.deviceType == DeviceType::SystemAudio)
        delegate_->recordedSongDidLast(*song, file.fromHostTime, file.toHostTime);
    sendRecordedSongItem(song, file.deviceType);
    DockContentView::shared().setRecordedMusicCount(++songItemCount_);
    if (delegate_)
        delegate_->setRecordTracksNum(delegate_->recordTracksNum() + 1);
}

void RecordViewCtr::dropRecordedFile(const RecordedFile &file) {
    if (!QFile::remove(file.path)) {
        QThread::msleep(10);
        if (!QFile::remove(file.path))
            logLine(QStringLiteral("%1 was to be dropped and could not be removed").arg(file.path));
    }
    // The number is given out again, unless a later one has been given out already.
    if (defaults().integerForKey("TrackID") - 1 == file.number)
        defaults().setInteger(file.number, "TrackID");
}

std::shared_ptr<SongItem> RecordViewCtr::keepRecordedFile(const RecordedFile &file, qint64 size,
                                                          const QVariantMap &info) {
    auto song = std::make_shared<SongItem>();
    song->setTitle(QStringLiteral("Track%1").arg(file.number));
    song->setLength(static_cast<qint64>(info.value("LengthKey").toDouble()) * 1000);
    song->setSongPath(file.path);
    song->setSize(size);
    song->setBiteRate(info.value("BitrateKey").toInt());
    song->setSampleRate(static_cast<int32_t>(info.value("SampleRateKey").toDouble()));
    song->setEncodeKind(info.value("FourCCKey").toString());
    song->setAddedDate(QDateTime::currentDateTime());
    song->setGetID3Status(
        static_cast<int32_t>(file.deviceType == DeviceType::Microphone ? ID3Status::NotFound : ID3Status::NotAsked));
    // A track without a row must not change that of another, nor be taken for another one without a row.
    const int32_t number = DataBaseManager::defaultManager().insertSongItem(*song);
    song->setSongID(number < 0 ? --lastNumberWithoutRow_ : number);
    return song;
}

bool RecordViewCtr::nofiltrateAudioFile(const QVariant &length) {
    if (!length.isValid())
        return false;
    if (!defaults().boolForKey("AutoFilterMusic"))
        return true;
    if (!defaults().contains("AutoFilterTimeInterval"))
        return false;
    return static_cast<qint64>(length.toDouble()) >= defaults().integerForKey("AutoFilterTimeInterval");
}

void RecordViewCtr::sendRecordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType deviceType) {
    if (delegate_)
        delegate_->recordedSongItem(song, deviceType);
}

// While it records

void RecordViewCtr::soundFileRecorderReachedDuration(qint64 milliseconds) {
    if (!recordStarting_)
        return;
    recordSpectrum_.lblRecordTime()->setStringValue(ConvertTimeToHMSPro(milliseconds));
    if (milliseconds > 0 && animationdelegate_)
        animationdelegate_->startNoteAnimation();
}

void RecordViewCtr::recordingTimeForAudioIsNull([[maybe_unused]] float seconds) {
    const bool splits = splitsAtSilence();
    microRecord_.setCutsAtSilence(splits); // the setting may have changed since the start
    if (splits)
        inciseRecordingFile();
}

bool RecordViewCtr::splitsAtSilence() const {
    return deviceType_ == DeviceType::SystemAudio && defaults().boolForKey("AutoSplitMusic");
}

void RecordViewCtr::nullAudioSignal(bool isNull, qint64 forNullTime, [[maybe_unused]] qint64 forNullCount) {
    if (deviceType_ != DeviceType::SystemAudio)
        return;
    if (!recordStarting_) {
        changedRecordingStatus(RecordingStatus::Idle);
    } else if (!isNull) {
        changedRecordingStatus(RecordingStatus::Recording);
    } else if (!defaults().boolForKey("AutoSplitMusic")) {
        if (forNullTime > 0)
            changedRecordingStatus(RecordingStatus::Recording);
    } else if (forNullTime == 0 || forNullTime >= defaults().integerForKey("AutoSplitTimeInterval")) {
        changedRecordingStatus(RecordingStatus::Waiting);
    }
    if (!isFirstAudioData_ && !isNull) {
        isFirstAudioData_ = true;
        if (delegate_)
            delegate_->showRecordView();
    }
}

void RecordViewCtr::recordingFileDidFail(const QString &path, const QString &reason, bool isBeingRecorded) {
    const bool stops = isBeingRecorded && recordStarting_;
    if (stops)
        stopRecordingFile();
    if (!delegate_)
        return;
    if (stops)
        delegate_->recordingDidFail(path, reason);
    else
        delegate_->recordedFileDidFail(path, reason);
}

void RecordViewCtr::recordingFileDidLoseSound(const QString &path, float seconds) {
    if (!std::exchange(hasToldLoss_, true) && delegate_)
        delegate_->recordingDidLoseSound(path, seconds);
}

void RecordViewCtr::changedRecordingStatus(RecordingStatus status) {
    DockContentView::shared().setRecordStatus(static_cast<int>(status));
    ReadyStatusPanel &time = *recordSpectrum_.lblRecordTime();
    switch (status) {
    case RecordingStatus::Idle:
        time.setStringValue({});
        time.setShakeEffect(false);
        recordSpectrum_.setStatus({}, StatusColour::Black);
        view_.setState(RecordingPageState::Idle);
        break;
    case RecordingStatus::Waiting:
        time.setStringValue(ConvertTimeToHMSPro(0));
        time.setShakeEffect(true);
        recordSpectrum_.setStatus(localizedString("Ready"), StatusColour::Black);
        view_.setState(RecordingPageState::Waiting);
        break;
    case RecordingStatus::Recording:
        time.setShakeEffect(false);
        recordSpectrum_.setStatus(rotatingStatusText(), StatusColour::Red);
        view_.setState(RecordingPageState::Recording);
        break;
    }
}

QString RecordViewCtr::rotatingStatusText() {
    const int phase = recordCountShow_;
    recordCountShow_ = phase >= 91 ? 0 : phase + 1;
    if (phase > 30 && phase <= 60)
        return localizedString("Rec..   ");
    if (phase > 60 && phase <= 90)
        return localizedString("Rec. ");
    return localizedString("Rec...");
}

// The spectrum

// Bars that nobody sees cost nothing, and begin anew from the ground.
void RecordViewCtr::followSpectrum() {
    const bool isSeen = recordSpectrum_.spectrumView()->isInSight();
    microRecord_.setDelegatePCMWave(isSeen ? &audioTransToPCMWave_ : nullptr);
    if (!isSeen)
        clearSpectrum();
}

void RecordViewCtr::sendAudioSpectrum(const int32_t *bars) {
    if (!microRecord_.delegatePCMWave())
        return; // the last result of bars that have just gone out of sight
    pcmNumberAry_.clear();
    for (int i = 0; i < kBars; ++i)
        pcmNumberAry_ << qMin(static_cast<int>(bars[i] * 24.0 * 4.0 / 8000.0), kHighestColumn);
    recordSpectrum_.spectrumView()->reloadData();
    soundEnd_.start();
}

// Also where the device has just stopped to deliver: bars that stand still would look like a program that does.
void RecordViewCtr::clearSpectrum() {
    soundEnd_.stop();
    pcmNumberAry_.fill(0, kBars);
    recordSpectrum_.spectrumView()->reloadData();
}

int RecordViewCtr::numberOfColumnsInSpectrumView([[maybe_unused]] SpectrumView &spectrumView) { return kBars; }

int RecordViewCtr::objectValueForColumnIndex([[maybe_unused]] SpectrumView &spectrumView, int index) {
    return pcmNumberAry_.at(index);
}

// Tracks and devices that changed elsewhere

void RecordViewCtr::NotifyID3Change(const std::any &object) {
    if (const auto *song = std::any_cast<std::shared_ptr<SongItem>>(&object); song && *song)
        imageFlowViewCtr_.updateSongItemOnMainThread(*song);
}

void RecordViewCtr::NotifyDeleteSongItems(const std::any &object) {
    if (const auto *songs = std::any_cast<QList<std::shared_ptr<SongItem>>>(&object))
        for (const auto &song : *songs) {
            imageFlowViewCtr_.removeSongItemOnMainThread(song);
            --songItemCount_;
        }
    DockContentView::shared().setRecordedMusicCount(songItemCount_);
}

void RecordViewCtr::NotifyRestoreSongItems(const std::any &object) {
    if (const auto *songs = std::any_cast<QList<std::shared_ptr<SongItem>>>(&object)) {
        imageFlowViewCtr_.setSongItems(*songs);
        songItemCount_ = static_cast<int>(songs->size());
    }
    DockContentView::shared().setRecordedMusicCount(songItemCount_);
}

void RecordViewCtr::listenAudio() {
    if (!isInstallAudioDeviceWithClassName(kCaptureDeviceClass))
        return;
    launchAudioDeviceWithClassName(kCaptureDeviceClass);
    deviceType_ = DeviceType::SystemAudio;
    microRecord_.configurePluginDiviceAuidoUnit();
}

void RecordViewCtr::devicesDidChange(const QList<SoundSource> &devices) {
    const DeviceID device = inputDeviceIDForName(devices, kCaptureDeviceName);
    // Without the device there is nothing to launch: no server, or a user who has not agreed to the installation.
    if (device == 0 || device != defaultDeviceID_ || !isInstallAudioDeviceWithClassName(kCaptureDeviceClass))
        return;
    relaunchAudioDeviceWithClassName(kCaptureDeviceClass);
    logLine("devicesDidChange .... ");
}

void RecordViewCtr::devicesDidIstall() {
    deviceType_ = DeviceType::SystemAudio;
    launchAudioDeviceWithClassName(kCaptureDeviceClass);
    microRecord_.configurePluginDiviceAuidoUnit();
}

void RecordViewCtr::devicesDidUnistall() {
    logLine("devicesDidUnistall ....");
    microRecord_.stopRecordAudio();
    // What the unit had reported is shown by then.
    performAfterDelay(kClearUpSeconds, this, [this] { clearUpOnMainThread(); });
}

void RecordViewCtr::clearUpOnMainThread() {
    clearSpectrum();
    if (!recordStarting_)
        changedRecordingStatus(RecordingStatus::Idle);
}
