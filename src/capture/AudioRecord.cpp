#include "capture/AudioRecord.h"

#include "capture/CaptureDevice.h"
#include "capture/SilenceWatch.h"
#include "platform/run/HostTime.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"

#include <chrono>
#include <cstring>
#include <pthread.h>

namespace {
// How often the main thread looks for reports. Each look costs more than what it finds.
constexpr std::chrono::milliseconds kDisplayInterval{100};   // the sound itself is displayed
constexpr std::chrono::milliseconds kRecordingInterval{250}; // a clock runs
constexpr std::chrono::milliseconds kIdleInterval{1000};
} // namespace

AudioRecord::AudioRecord(InputUnitFactory makeInputUnit) : makeInputUnit_(std::move(makeInputUnit)) {
    paceReports();
    reportPoll_.callOnTimeout([this] { deliverReports(); });
    mp3WriteList_.reserve(kMP3Blocks);
    mp3Threadone_ = std::thread([this] { writeMP3Data(); });
    pthread_setname_np(mp3Threadone_.native_handle(), "Thread-MP3");
}

AudioRecord::~AudioRecord() {
    closeInputUnit();
    blStopThread_.store(false, std::memory_order_relaxed);
    mp3Hurry_.post();
    mp3Threadone_.join();
}

void AudioRecord::setDelegatePCMWave(AudioPCMWaveDelegate *delegate) {
    delegatePCMWave_ = delegate;
    wantsSamples_.store(delegate != nullptr, std::memory_order_relaxed);
    paceReports();
}

// The unit

bool AudioRecord::configureAudioUnit(DeviceID device) {
    closeInputUnit();
    audioUnit_ = makeInputUnit_(*this);
    if (audioUnit_ && audioUnit_->initialize(device))
        return true;
    audioUnit_.reset();
    return false;
}

void AudioRecord::closeInputUnit() {
    stopRecordAudio();
    audioUnit_.reset();
    while (heldBlocks_.front())
        heldBlocks_.pop();
}

bool AudioRecord::configurePluginDiviceAuidoUnit() {
    configureAudioUnit(getInPutAudioDeviceIDForName(kCaptureDeviceName));
    startInputUnit();
    return true;
}

bool AudioRecord::startInputUnit() {
    awaitsFirstSlice_ = true;
    if (!audioUnit_ || audioUnit_->start() != 0)
        return false;
    reportPoll_.start();
    return true;
}

bool AudioRecord::startRecordAudio() {
    if (recordStatus_ != 0 || !audioUnit_)
        return false;
    recordStatus_ = 1;
    startHostTime_.store(AudioGetCurrentHostTime(), std::memory_order_relaxed);
    if (!startInputUnit()) {
        recordStatus_ = 0;
        return false;
    }
    if (delegate_)
        delegate_->soundFileRecorderWasStarted();
    return true;
}

bool AudioRecord::stopRecordAudio() {
    if (audioUnit_ && audioUnit_->stop() != 0)
        return false;
    recordStatus_ = 0;
    reportPoll_.stop();
    performAfterDelay(/*seconds=*/0, &reportPoll_, [this] { deliverReports(); }); // the last ones
    closeExportFile();
    return true;
}

bool AudioRecord::stopRecordAudioFile() {
    closeExportFile();
    return true;
}

// The file

bool AudioRecord::setRecordingFile(const QString &path, ExportType forType, int forBitRate, DeviceID forDeviceID) {
    if (forDeviceID != deviceID_) {
        deviceID_ = forDeviceID;
        configureAudioUnit(forDeviceID);
    }
    RecordedSize_.store(0, std::memory_order_relaxed);
    recordedDurationTime_.store(0, std::memory_order_relaxed);
    fileNumber_.fetch_add(1, std::memory_order_relaxed);
    hasReportedFailure_ = false;

    if (forType == ExportType::M4A) {
        QString error;
        const std::lock_guard guard(m4acloseFileCondition_);
        outputM4aFilePath_ = path;
        outputM4aAudioFile_.store(nullptr, std::memory_order_relaxed);
        m4aFile_ = ExtAudioFile::createNew(path, forBitRate, &error);
        outputM4aAudioFile_.store(m4aFile_.get(), std::memory_order_relaxed);
        if (!m4aFile_)
            reportFileFailure(path, error);
        paceReports();
        return m4aFile_ != nullptr;
    }
    if (forType == ExportType::MP3) {
        const std::lock_guard guard(closeFileCondition_);
        outputMP3FilePath_ = path;
        mp3Error_.store(0, std::memory_order_relaxed);
        FCFileRecord fileRecord;
        fileRecord.bitRate = forBitRate;
        FCHandle file = FCCreateMediaFile(path.toStdU32String(), fileRecord);
        outputMP3AudioFile_.store(file, std::memory_order_relaxed);
        if (!file)
            reportFileFailure(path, QString::fromLocal8Bit(std::strerror(errno)));
        mp3Hurry_.post();
        paceReports();
    }
    return true;
}

bool AudioRecord::closeExportFile() {
    const BlockHold hold(*this);
    recordedDurationTime_.store(0, std::memory_order_relaxed);
    RecordedSize_.store(0, std::memory_order_relaxed);
    fileNumber_.fetch_add(1, std::memory_order_relaxed);
    bool hasClosed = false;
    if (m4aFile_) {
        const std::lock_guard guard(m4acloseFileCondition_);
        const ExtAudioFile::Outcome outcome = m4aFile_->dispose();
        outputM4aAudioFile_.store(nullptr, std::memory_order_relaxed);
        m4aFile_.reset();
        logLosses(outputM4aFilePath_, outcome.lostBlocks);
        if (!outcome.error.isNull())
            reportFileFailure(outputM4aFilePath_, outcome.error);
        if (delegate_)
            delegate_->notifyRecordedFinish(outputM4aFilePath_);
        AudioNULLNumber_.store(0, std::memory_order_relaxed);
        outputM4aFilePath_.clear();
        hasClosed = true;
    }
    if (outputMP3AudioFile_.load(std::memory_order_relaxed)) {
        waitForMP3Writer();
        {
            const std::lock_guard guard(closeFileCondition_);
            FCCloseMediaFile(outputMP3AudioFile_.exchange(nullptr, std::memory_order_relaxed));
        }
        checkOpenFile();
        logLosses(outputMP3FilePath_, /*lostM4aBlocks=*/0);
        if (delegate_)
            delegate_->notifyRecordedFinish(outputMP3FilePath_);
        AudioNULLNumber_.store(0, std::memory_order_relaxed);
        outputMP3FilePath_.clear();
        hasClosed = true;
    }
    paceReports();
    return hasClosed;
}

void AudioRecord::waitForMP3Writer() {
    // Blocks that are still queued at the close are not flushed: they would reach no file, or the next one. So the
    // writer gets the time of its idle sleep to catch up; one that stands still has lost them.
    mp3Hurry_.post();
    for (int i = 0; i < 100 && mp3Pending_.load(std::memory_order_acquire) > 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void AudioRecord::logLosses(const QString &path, int64_t lostM4aBlocks) {
    const auto lostBlocks = static_cast<int64_t>(lostMP3Blocks_.exchange(0, std::memory_order_relaxed)) + lostM4aBlocks;
    if (lostBlocks > 0)
        logLine(QStringLiteral("%1 blocks of sound (%2 s) were lost from %3: the disk or the encoder could not keep up")
                    .arg(lostBlocks)
                    .arg(static_cast<double>(secondsOfBlocks(lostBlocks)), 0, 'f', 2)
                    .arg(path));
    if (const uint64_t lost = lostReports_.exchange(0, std::memory_order_relaxed))
        logLine(
            QStringLiteral("%1 blocks passed unseen during %2: the main thread could not keep up").arg(lost).arg(path));
}

void AudioRecord::reportFileFailure(const QString &path, const QString &reason) {
    logLine(QStringLiteral("%1 cannot be written: %2").arg(path, reason));
    if (std::exchange(hasReportedFailure_, true))
        return;
    // In a turn of its own: the receiver stops the recording, which may not happen inside an open or a close.
    performAfterDelay(/*seconds=*/0, &reportPoll_, [this, path, reason] {
        if (delegate_)
            delegate_->recordingFileDidFail(path, reason);
    });
}

void AudioRecord::checkOpenFile() {
    if (const int error = mp3Error_.exchange(0, std::memory_order_relaxed))
        reportFileFailure(outputMP3FilePath_, QString::fromLocal8Bit(std::strerror(error)));
    if (m4aFile_ && m4aFile_->hasFailed() && !hasReportedFailure_)
        reportFileFailure(outputM4aFilePath_, m4aFile_->failure());
}

// What the audio thread reports

void AudioRecord::paceReports() {
    reportPoll_.setInterval(delegatePCMWave_ ? kDisplayInterval : isRecording() ? kRecordingInterval : kIdleInterval);
}

void AudioRecord::deliverReports() {
    while (const BlockReport *next = reports_.front()) {
        const BlockReport result = *next;
        reports_.pop();
        deliver(result);
    }
    checkOpenFile();
    // Reports that found the queue full are gone, but not that there was sound among them.
    if (lostAudibleReport_.exchange(false, std::memory_order_relaxed) && delegate_)
        delegate_->nullAudioSignal(/*isNull=*/false, /*forNullTime=*/0, /*forNullCount=*/0);
}

void AudioRecord::deliver(const BlockReport &result) {
    if (result.isWrongSize) {
        logLine("the number is not right!");
        return;
    }
    if (std::exchange(awaitsFirstSlice_, false))
        logLine("sound arrives from the capture device");
    if (result.checksSplit)
        recordAudioIsNullForRecordThread();
    if (result.holdsForSplit)
        splitPending_.store(false, std::memory_order_release);

    const bool isOfOpenFile = result.fileNumber == fileNumber_.load(std::memory_order_relaxed);
    if (result.isForOpenFile && isOfOpenFile && result.recordedSize % 10 == 0 && recordStatus_ == 1 && delegate_)
        delegate_->soundFileRecorderReachedDuration(result.durationTime);
    if (result.hasSamples) {
        const SoundBlock *samples = samples_.front();
        if (delegatePCMWave_ && audioUnit_)
            delegatePCMWave_->sendAudioDataProc(samples->left.data(), samples->right.data(), kBlockFrames);
        samples_.pop();
    }
    const float silenceInFile = secondsOfBlocks(isOfOpenFile ? result.nullNumber : 0);
    if (delegate_)
        delegate_->nullAudioSignal(result.isNull, static_cast<qint64>(silenceInFile * 1000.0f),
                                   static_cast<qint64>(secondsOfBlocks(result.nullDuration) * 1000.0f));
}

void AudioRecord::recordAudioIsNullForRecordThread() {
    const int32_t silentBlocks = AudioNULLNumber_.load(std::memory_order_relaxed);
    if (!isSplitDue(silentBlocks, autoSplitTimeInterval_.load(std::memory_order_relaxed)))
        return;
    AudioNULLNumber_.store(0, std::memory_order_relaxed);
    const float seconds = secondsOfBlocks(silentBlocks);
    if (!delegate_)
        return;
    delegate_->recordingTimeForAudioIsNull(seconds);
    // Ten times the factor of the running signal: the value is only compared with the interval and always passes it.
    delegate_->nullAudioSignal(/*isNull=*/true, static_cast<qint64>(seconds * 10000.0f), /*forNullCount=*/0);
}
