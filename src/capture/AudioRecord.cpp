#include "capture/AudioRecord.h"

#include "capture/CaptureDevice.h"
#include "capture/SilenceWatch.h"
#include "platform/run/HostTime.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"

#include <chrono>
#include <cstring>
#include <optional>
#include <pthread.h>

namespace {
// How often the main thread looks for reports. Each look costs more than what it finds.
constexpr std::chrono::milliseconds kDisplayInterval{100}; // a clock runs, or the sound itself is displayed
constexpr std::chrono::milliseconds kIdleInterval{1000};   // the first sound wakes the main thread
constexpr size_t kDisplayBacklog = 28;                     // blocks, three fragments of the device
// A writer that takes nothing for so long stands still.
constexpr int kPatienceMilliseconds = 1000;

QString errorText(int systemError) { return QString::fromLocal8Bit(std::strerror(systemError)); }
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
    while (samples_.front()) // of an earlier display
        samples_.pop();
    paceReports();
}

// The unit

bool AudioRecord::configureAudioUnit(DeviceID device) {
    closeInputUnit();
    if (audioUnit_)
        return true; // of a recording that began while the last file was being finished
    audioUnit_ = makeInputUnit_(*this);
    if (audioUnit_ && audioUnit_->initialize(device))
        return true;
    audioUnit_.reset();
    return false;
}

void AudioRecord::closeInputUnit() {
    if (audioUnit_)
        audioUnit_->stop(); // one that would not stop does so when it goes
    audioUnit_.reset();
    while (!isRecording() && heldBlocks_.front())
        heldBlocks_.pop();
    stopRecordAudio();
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
    if (forDeviceID != deviceID_ || !audioUnit_) {
        deviceID_ = forDeviceID;
        configureAudioUnit(forDeviceID);
    }
    if (m4aFile_)
        takeOpenFile(); // disposed of, and nobody hears of it
    if (outputMP3AudioFile_.load(std::memory_order_relaxed))
        closeExportFile();
    const BlockHold hold(*this);
    RecordedSize_.store(0, std::memory_order_relaxed);
    recordedDurationTime_.store(0, std::memory_order_relaxed);
    fileNumber_.fetch_add(1, std::memory_order_relaxed);
    hasReportedFailure_ = false;
    bool isMade = true;
    if (forType == ExportType::M4A)
        isMade = openM4aFile(path, forBitRate);
    else if (forType == ExportType::MP3)
        openMP3File(path, forBitRate);
    paceReports();
    return isMade;
}

bool AudioRecord::openM4aFile(const QString &path, int bitRate) {
    QString error;
    m4aFile_ = ExtAudioFile::createNew(path, bitRate, &error);
    if (!m4aFile_) {
        reportFileFailure(path, error, /*isBeingRecorded=*/true);
        return false;
    }
    outputM4aFilePath_ = path;
    const std::lock_guard guard(m4acloseFileCondition_);
    outputM4aAudioFile_.store(m4aFile_.get(), std::memory_order_relaxed);
    return true;
}

void AudioRecord::openMP3File(const QString &path, int bitRate) {
    FCFileRecord fileRecord;
    fileRecord.bitRate = bitRate;
    FCHandle file = FCCreateMediaFile(path.toStdU32String(), fileRecord);
    if (!file)
        return reportFileFailure(path, errorText(errno), /*isBeingRecorded=*/true);
    outputMP3FilePath_ = path;
    {
        const std::lock_guard guard(closeFileCondition_);
        mp3Error_.store(0, std::memory_order_relaxed);
        outputMP3AudioFile_.store(file, std::memory_order_relaxed);
    }
    mp3Hurry_.post();
}

bool AudioRecord::closeExportFile() {
    ClosingFile file = takeOpenFile();
    paceReports();
    if (!file.m4aFile && !file.mp3File)
        return false;
    finish(file);
    return true;
}

/// Takes the file from the audio thread and the writer. What was held until now has been written into it, unless it
/// waits for a cut that was decided already.
AudioRecord::ClosingFile AudioRecord::takeOpenFile() {
    const bool isCut = holds_.load(std::memory_order_relaxed) > 0 && splitPending_.load(std::memory_order_relaxed);
    const BlockHold hold(*this);
    const size_t heldBlocks = std::exchange(heldAtHold_, 0);
    if (isRecording() && !isCut)
        writeHeldBlocks(heldBlocks);
    ClosingFile file;
    file.fromHostTime = startHostTime_.load(std::memory_order_relaxed) - kBlockNanoseconds; // stamped at a block's end
    file.toHostTime = endHostTime_.load(std::memory_order_relaxed);
    recordedDurationTime_.store(0, std::memory_order_relaxed);
    RecordedSize_.store(0, std::memory_order_relaxed);
    AudioNULLNumber_.store(0, std::memory_order_relaxed);
    fileNumber_.fetch_add(1, std::memory_order_relaxed);

    if (m4aFile_) {
        const std::lock_guard guard(m4acloseFileCondition_);
        outputM4aAudioFile_.store(nullptr, std::memory_order_relaxed);
        file.m4aFile = std::move(m4aFile_);
        file.path = std::exchange(outputM4aFilePath_, {});
    } else if (outputMP3AudioFile_.load(std::memory_order_relaxed)) {
        // The writer gets the time to catch up; what it still has when it stands still reaches no file.
        waitForMP3Writer(/*pendingBlocks=*/0);
        {
            const std::lock_guard guard(closeFileCondition_);
            file.mp3File = outputMP3AudioFile_.exchange(nullptr, std::memory_order_relaxed);
        }
        waitForMP3Writer(/*pendingBlocks=*/0);
        file.path = std::exchange(outputMP3FilePath_, {});
        file.lostBlocks = lostMP3Blocks_.exchange(0, std::memory_order_relaxed);
    }
    file.hasReportedFailure = hasReportedFailure_;
    return file;
}

void AudioRecord::finish(ClosingFile &file) {
    QString error;
    if (file.m4aFile) {
        const ExtAudioFile::Outcome outcome = file.m4aFile->dispose();
        file.lostBlocks += outcome.lostBlocks;
        error = outcome.error;
    } else if (const int code = FCCloseMediaFile(file.mp3File)) {
        error = errorText(code);
    }
    if (file.lostBlocks > 0)
        tellLoss(file.path, file.lostBlocks, "the disk or the encoder could not keep up");
    if (const uint64_t lost = lostReports_.exchange(0, std::memory_order_relaxed))
        logLine(QStringLiteral("%1 blocks passed unseen during %2: the main thread could not keep up")
                    .arg(lost)
                    .arg(file.path));
    if (!error.isNull() && !file.hasReportedFailure)
        reportFileFailure(file.path, error, /*isBeingRecorded=*/false);
    if (delegate_)
        delegate_->recordedFileDidLast(file.path, file.fromHostTime, file.toHostTime);
    if (delegate_)
        delegate_->notifyRecordedFinish(file.path);
}

// What is held

void AudioRecord::beginHold() {
    // In one order with the audio thread's mark: either it sees the hold, or its block is waited for here.
    if (holds_.fetch_add(1, std::memory_order_seq_cst) > 0)
        return;
    while (isInBlock_.load(std::memory_order_seq_cst))
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    heldAtHold_ = heldBlocks_.size();
}

void AudioRecord::endHold() {
    // release: the files that were changed under the hold are seen by the audio thread that finds it gone
    if (holds_.fetch_sub(1, std::memory_order_release) > 1)
        return;
    const int64_t lostBlocks = lostHeldBlocks_.exchange(0, std::memory_order_relaxed);
    if (lostBlocks > 0 && isRecording()) // else nobody wanted them
        tellLoss(m4aFile_ ? outputM4aFilePath_ : outputMP3FilePath_, lostBlocks,
                 "the file before it took too long to finish");
}

void AudioRecord::writeHeldBlocks(size_t count) {
    bool hasRoom = true;
    bool isAudible = false;
    for (; count > 0 && heldBlocks_.front(); --count) {
        hasRoom = hasRoom && waitForRoom();
        const InputSlice block = heldBlocks_.front()->slice();
        const bool isNull = isNULLAudioData(block.left);
        recordBlock(block, isNull);
        isAudible |= !isNull;
        heldBlocks_.pop();
    }
    // In place of the reports of these blocks, which are of the past.
    if (isAudible && delegate_)
        delegate_->nullAudioSignal(/*isNull=*/false, /*forNullTime=*/0, /*forNullCount=*/0);
}

bool AudioRecord::waitForRoom() {
    return m4aFile_ ? m4aFile_->waitForRoom(kPatienceMilliseconds)
                    : waitForMP3Writer(/*pendingBlocks=*/static_cast<int>(kMP3Blocks) / 2);
}

/// Until no more than so many blocks wait for the writer; false when it stands still.
bool AudioRecord::waitForMP3Writer(int pendingBlocks) {
    int pending = mp3Pending_.load(std::memory_order_acquire);
    for (int idle = 0; pending > pendingBlocks; ++idle) {
        if (idle == kPatienceMilliseconds)
            return false;
        mp3Hurry_.post();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const int before = std::exchange(pending, mp3Pending_.load(std::memory_order_acquire));
        if (pending != before)
            idle = 0;
    }
    return true;
}

// What is told

void AudioRecord::tellLoss(const QString &path, int64_t lostBlocks, const char *reason) {
    const float seconds = secondsOfBlocks(lostBlocks);
    logLine(QStringLiteral("%1 blocks of sound (%2 s) were lost from %3: %4")
                .arg(lostBlocks)
                .arg(static_cast<double>(seconds), 0, 'f', 2)
                .arg(path, QLatin1String(reason)));
    performAfterDelay(/*seconds=*/0, &reportPoll_, [this, path, seconds] {
        if (delegate_)
            delegate_->recordingFileDidLoseSound(path, seconds);
    });
}

void AudioRecord::reportFileFailure(const QString &path, const QString &reason, bool isBeingRecorded) {
    logLine(QStringLiteral("%1 cannot be written: %2").arg(path, reason));
    // In a turn of its own: the receiver stops the recording, which may not happen inside an open or a close. Until
    // then another file may have taken this one's place.
    const uint32_t fileNumber = fileNumber_.load(std::memory_order_relaxed);
    performAfterDelay(/*seconds=*/0, &reportPoll_, [this, path, reason, isBeingRecorded, fileNumber] {
        if (delegate_)
            delegate_->recordingFileDidFail(
                path, reason, isBeingRecorded && fileNumber == fileNumber_.load(std::memory_order_relaxed));
    });
}

void AudioRecord::checkOpenFile() {
    const int mp3Error = mp3Error_.load(std::memory_order_relaxed);
    const bool hasM4aFailed = m4aFile_ && m4aFile_->hasFailed();
    const bool hasMP3Failed = outputMP3AudioFile_.load(std::memory_order_relaxed) && mp3Error != 0;
    if ((!hasM4aFailed && !hasMP3Failed) || std::exchange(hasReportedFailure_, true))
        return;
    if (hasM4aFailed)
        reportFileFailure(outputM4aFilePath_, m4aFile_->failure(), /*isBeingRecorded=*/true);
    else
        reportFileFailure(outputMP3FilePath_, errorText(mp3Error), /*isBeingRecorded=*/true);
}

// What the audio thread reports

void AudioRecord::paceReports() {
    const bool isIdle = !delegatePCMWave_ && !isRecording();
    wantsWake_.store(isIdle, std::memory_order_relaxed);
    reportPoll_.setInterval(isIdle ? kIdleInterval : kDisplayInterval);
}

void AudioRecord::deliverReports() {
    // Each report is out of the queue before anybody hears of it: who hears of it may run an event loop that comes here
    // again.
    std::optional<BlockReport> split;
    bool isAnswer = false;
    while (const BlockReport *next = reports_.front()) {
        const BlockReport result = *next;
        reports_.pop();
        ++deliveredReports_;
        isAnswer |= result.holdsForSplit;
        if (!split && result.checksSplit && isSplitCheckDue())
            split = result;
        else
            deliver(result);
    }
    deliverSamples();
    checkOpenFile();
    // Reports that found the queue full are gone, but not that there was sound among them.
    if (lostAudibleReport_.exchange(false, std::memory_order_relaxed) && delegate_)
        delegate_->nullAudioSignal(/*isNull=*/false, /*forNullTime=*/0, /*forNullCount=*/0);

    if (split) {
        // A timer does not come again while its work runs; started anew it does, and a panel that opens in the split
        // does not stop the display.
        if (reportPoll_.isActive())
            reportPoll_.start();
        const uint64_t deliveredBefore = deliveredReports_;
        recordAudioIsNullForRecordThread();
        if (deliveredReports_ == deliveredBefore)
            deliver(*split); // else it is of the past
    }
    if (isAnswer)
        splitPending_.store(false, std::memory_order_release);
}

void AudioRecord::deliverSamples() {
    // What is displayed is what is heard: of a backlog, as behind a turn that took long, only the end.
    if (samples_.size() > kDisplayBacklog)
        while (samples_.size() > AudioPCMWaveDelegate::kDisplayBlocks)
            samples_.pop();
    for (size_t i = 0; i < AudioPCMWaveDelegate::kDisplayBlocks && samples_.front(); ++i) {
        if (delegatePCMWave_ && audioUnit_)
            delegatePCMWave_->sendAudioDataProc(samples_.front()->left.data(), samples_.front()->right.data(),
                                                kBlockFrames);
        samples_.pop();
    }
}

void AudioRecord::deliver(const BlockReport &result) {
    if (result.isWrongSize) {
        logLine("the number is not right!");
        return;
    }
    if (std::exchange(awaitsFirstSlice_, false))
        logLine("sound arrives from the capture device");
    const bool isOfOpenFile = result.fileNumber == fileNumber_.load(std::memory_order_relaxed);
    if (result.isForOpenFile && isOfOpenFile && result.recordedSize % 10 == 0 && recordStatus_ == 1 && delegate_)
        delegate_->soundFileRecorderReachedDuration(result.durationTime);
    const float silenceInFile = secondsOfBlocks(isOfOpenFile ? result.nullNumber : 0);
    if (delegate_)
        delegate_->nullAudioSignal(result.isNull, static_cast<qint64>(silenceInFile * 1000.0f),
                                   static_cast<qint64>(secondsOfBlocks(result.nullDuration) * 1000.0f));
}

bool AudioRecord::isSplitCheckDue() const {
    return isSplitDue(AudioNULLNumber_.load(std::memory_order_relaxed),
                      autoSplitTimeInterval_.load(std::memory_order_relaxed));
}

void AudioRecord::recordAudioIsNullForRecordThread() {
    const int32_t silentBlocks = AudioNULLNumber_.load(std::memory_order_relaxed);
    AudioNULLNumber_.store(0, std::memory_order_relaxed);
    const float seconds = secondsOfBlocks(silentBlocks);
    if (!delegate_)
        return;
    delegate_->recordingTimeForAudioIsNull(seconds);
    if (!delegate_)
        return; // it has just taken itself back
    // Ten times the factor of the running signal: the value is only compared with the interval and always passes it.
    delegate_->nullAudioSignal(/*isNull=*/true, static_cast<qint64>(seconds * 10000.0f), /*forNullCount=*/0);
}
