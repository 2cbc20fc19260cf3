// The real-time core of the recorder: takes blocks of sound from one capture device, writes those that are to be kept
// into at most one open file, and watches for silence.
//
// Threads: AudioInputProc() on the audio thread, writeMP3Data() on "Thread-MP3", everything else on the main thread.
// What the audio thread has to say goes to the main thread through a queue of small records, into which the main thread
// looks from time to time: to wake another thread would cost more than all the rest that is done for a block. Only the
// first sound behind a silence wakes it, when it looks seldom. What several threads touch is marked below with its
// writers.
#pragma once

#include "platform/media/EncMgr.h"
#include "platform/media/ExtAudioFile.h"
#include "platform/run/MainThread.h"
#include "platform/run/Semaphore.h"
#include "platform/run/SpscQueue.h"
#include "platform/sound/InputUnit.h"

#include <QString>
#include <QTimer>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// Hears what the engine did. Main thread. Outlives its AudioRecord or takes itself back with setDelegate(nullptr). May
/// call the engine, and may run an event loop of its own, wherever nothing else is said.
class AudioRecordDelegate {
public:
    virtual void soundFileRecorderWasStarted() {}
    /// The file that is being recorded has grown to `milliseconds`; every tenth block.
    virtual void soundFileRecorderReachedDuration([[maybe_unused]] qint64 milliseconds) {}
    /// `seconds` of silence have just outlasted the split interval.
    virtual void recordingTimeForAudioIsNull([[maybe_unused]] float seconds) {}
    /// The state after a block: was it silent, how long is the silence at the end of the file (milliseconds), and how
    /// long is it at all. After recordingTimeForAudioIsNull() it comes once more, with ten times the silence and 0.
    virtual void nullAudioSignal([[maybe_unused]] bool isNull, [[maybe_unused]] qint64 forNullTime,
                                 [[maybe_unused]] qint64 forNullCount) {}
    /// What is in the closed file was heard between these host times. notifyRecordedFinish() follows.
    virtual void recordedFileDidLast([[maybe_unused]] const QString &path, [[maybe_unused]] uint64_t fromHostTime,
                                     [[maybe_unused]] uint64_t toHostTime) {}
    /// A file was closed; `path` may be moved or deleted now.
    virtual void notifyRecordedFinish([[maybe_unused]] const QString &path) {}
    /// A file cannot be made, written or finished, `reason` is the system's text. What was written stays playable.
    /// Where it is the file that is being recorded, the receiver is expected to stop the recording; a file that was
    /// closed before has nothing to do with what is recorded now. Comes once per file, in a turn of its own.
    virtual void recordingFileDidFail([[maybe_unused]] const QString &path, [[maybe_unused]] const QString &reason,
                                      [[maybe_unused]] bool isBeingRecorded) {}
    /// `seconds` of sound that belong into the file are missing. In a turn of its own.
    virtual void recordingFileDidLoseSound([[maybe_unused]] const QString &path, [[maybe_unused]] float seconds) {}

protected:
    ~AudioRecordDelegate() = default;
};

/// Receives the sound itself, for display: what is heard now, whatever becomes of it in files.
class AudioPCMWaveDelegate {
public:
    /// So many blocks may come in one turn. They come in bursts, 8.6 in a look of the main thread.
    static constexpr size_t kDisplayBlocks = 10;

    /// Main thread. One block of `forNumer` samples a channel; the pointers are valid during the call.
    virtual void sendAudioDataProc(const float *left, const float *forRightData, uint32_t forNumer) = 0;

protected:
    ~AudioPCMWaveDelegate() = default;
};

class AudioRecord final : public InputUnitClient {
public:
    /// While one lives, no block is in work, and incoming ones wait in memory (for up to six seconds), so that a file
    /// can be closed and the next one opened without a gap between them, and without the audio thread meeting a lock.
    /// What came before the hold belongs to the file that is open when it begins. Sound that finds the memory full is
    /// lost, and told when a file is open at the end of the hold. Main thread.
    class BlockHold {
    public:
        explicit BlockHold(AudioRecord &engine) : engine_(engine) { engine_.beginHold(); }
        ~BlockHold() { engine_.endHold(); }
        BlockHold(const BlockHold &) = delete;
        BlockHold &operator=(const BlockHold &) = delete;

    private:
        AudioRecord &engine_;
    };

    explicit AudioRecord(InputUnitFactory makeInputUnit);
    ~AudioRecord();
    AudioRecord(const AudioRecord &) = delete;
    AudioRecord &operator=(const AudioRecord &) = delete;

    /// (Re)builds the input unit for `device` without starting it. An older unit is stopped first, and an open file
    /// closed. False leaves the engine without a unit.
    bool configureAudioUnit(DeviceID device);

    /// Configures the unit for the device named "System Audio Recorder" and starts it, whatever either step returned,
    /// so that the display lives before anything is recorded. Always true.
    bool configurePluginDiviceAuidoUnit();

    /// Opens the output file, `forBitRate` in bits per second; the unit is configured anew first when `forDeviceID`
    /// is not the device asked for last, and when there is no unit. False only if the M4A file could not be created. An
    /// MP3 file that could not be created answers true and isRecording() stays false; so does a type that names no
    /// container.
    bool setRecordingFile(const QString &path, ExportType forType, int forBitRate, DeviceID forDeviceID);

    /// Marks the engine started and starts the unit. False without a unit, on the unit's failure, and when it was
    /// started already, as with every recording but the first: the unit runs on between recordings.
    bool startRecordAudio();
    /// Stops the unit and closes any open file. False, and nothing closed, if the unit would not stop.
    bool stopRecordAudio();
    /// Closes any open file and leaves the unit running. Blocks that are held go into the file first, unless a
    /// BlockHold keeps them for the next one. Always true.
    bool stopRecordAudioFile();

    void setAutoSplitTimeForMillisecond(qint64 interval) {
        autoSplitTimeInterval_.store(interval, std::memory_order_relaxed);
    }

    /// Whether the silence that the delegate is told of will be answered with a cut: only then blocks are held until
    /// the answer has come. True until set.
    void setCutsAtSilence(bool cuts) { cutsAtSilence_.store(cuts, std::memory_order_relaxed); }

    bool isRecording() const noexcept { return outputM4aAudioFile_ || outputMP3AudioFile_; }
    bool hasSetM4aExportFile() const noexcept { return outputM4aAudioFile_; }
    QString outputM4aFilePath() const { return outputM4aFilePath_; }
    int recordStatus() const { return recordStatus_; }

    void setDelegate(AudioRecordDelegate *delegate) { delegate_ = delegate; }
    AudioRecordDelegate *delegate() const { return delegate_; }
    void setDelegatePCMWave(AudioPCMWaveDelegate *delegate);
    AudioPCMWaveDelegate *delegatePCMWave() const { return delegatePCMWave_; }

    /// Audio thread. One block of kBlockFrames frames; a slice of another size is skipped and logged. No allocation,
    /// no log, no file, no wait for the main thread; takes the M4A lock only while an M4A file is open. The result is
    /// the slice's status.
    Status AudioInputProc(const InputSlice &slice) noexcept override;

    /// True if at least 359 of the block's 512 left samples are below 0.0001 in absolute value. A null pointer gives
    /// false. Any thread.
    static bool isNULLAudioData(const float *left) noexcept;

    /// One sample as 16 bits: limits at 1.0 and -1.0, in between times 32768 and cut toward zero; what is no number
    /// gives 0. Any thread.
    static int16_t flt32toS16(float sample) noexcept;

    /// Blocks of the MP3 pool that are free now, of 20. Any thread.
    int freeMP3Blocks() const noexcept;

    /// Main thread. Delivers what the audio thread has reported so far; the split that is due comes behind it. Called
    /// by a timer while the unit runs, and may be called from within what it delivers.
    void deliverReports();

private:
    static constexpr size_t kMP3Blocks = 20; // 232 ms, over twice the writer's idle sleep

    /// One block on its way to the MP3 writer.
    struct audioDataMemery {
        std::array<float, kBlockFrames> LbufferData{};
        std::array<float, kBlockFrames> rbufferData{};
        // The audio thread takes, the writer gives back. Acquire and release: the samples have been copied out before
        // they are written again.
        std::atomic<bool> isEmpty = true;
    };

    /// A block that waits in memory while the main thread changes files.
    struct HeldBlock {
        uint64_t hostTime = 0;
        Status status = 0;
        bool hasSamples = false;
        SoundBlock samples;

        void copyFrom(const InputSlice &slice) noexcept;
        InputSlice slice() const noexcept;
    };

    /// What the main thread is told of one block.
    struct BlockReport {
        uint32_t fileNumber = 0;    // the file that was open, to tell reports that a cut has overtaken
        int32_t recordedSize = 0;   // blocks in that file
        int32_t nullNumber = 0;     // silent blocks at its end
        qint64 nullDuration = 0;    // silent blocks at all
        qint64 durationTime = 0;    // milliseconds of the file
        bool isWrongSize = false;   // not a block at all; nothing else holds
        bool isNull = false;        // silent
        bool isForOpenFile = false; // a file was open and the samples were good
        bool checksSplit = false;   // written silence: the split check is due
        bool holdsForSplit = false; // the check will cut; the audio thread holds further blocks until it has run
        bool wakes = false;         // sound behind a long silence
    };

    // AudioRecordBlocks.cpp: the audio thread
    bool isHolding() const noexcept;
    void display(const InputSlice &block) noexcept;
    void hold(const InputSlice &slice) noexcept;
    void loseBlock(const InputSlice &block) noexcept;
    void processOldestHeldBlock() noexcept;
    void processBlock(const InputSlice &block) noexcept;
    BlockReport listen(const InputSlice &block) noexcept;
    bool recordBlock(const InputSlice &block, bool isNull) noexcept;
    void writeBlock(const InputSlice &block) noexcept;
    void writeMP3AudioData(const float *left, const float *forRightData) noexcept;
    audioDataMemery *getAudioFrame() noexcept;
    void report(BlockReport &report) noexcept;

    // AudioRecordWriter.cpp: "Thread-MP3"
    void writeMP3Data();
    bool takeQueuedBlock();
    void encodeTakenBlock();
    static void realseAudioFrame(audioDataMemery *block) noexcept;

    /// What is left of the open file when it has been taken from the audio thread and the writer.
    struct ClosingFile {
        std::unique_ptr<ExtAudioFile> m4aFile;
        FCHandle mp3File = nullptr;
        QString path;
        uint64_t fromHostTime = 0; // of its sound
        uint64_t toHostTime = 0;
        int64_t lostBlocks = 0;
        bool hasReportedFailure = false;
    };

    void closeInputUnit();
    bool startInputUnit();
    bool openM4aFile(const QString &path, int bitRate);
    void openMP3File(const QString &path, int bitRate);
    bool closeExportFile();
    ClosingFile takeOpenFile();
    void finish(ClosingFile &file);
    void beginHold();
    void endHold();
    void writeHeldBlocks(size_t count);
    bool waitForRoom();
    bool waitForMP3Writer(int pendingBlocks);
    void tellLoss(const QString &path, int64_t lostBlocks, const char *reason);
    void paceReports();
    void deliver(const BlockReport &report);
    void deliverSamples();
    bool isSplitCheckDue() const;
    void recordAudioIsNullForRecordThread();
    void reportFileFailure(const QString &path, const QString &reason, bool isBeingRecorded);
    void checkOpenFile();

    InputUnitFactory makeInputUnit_;
    std::unique_ptr<InputUnit> audioUnit_;
    DeviceID deviceID_ = 0; // asked for last by setRecordingFile(); configureAudioUnit() does not set it
    int recordStatus_ = 0;  // 0 idle, 1 started
    bool awaitsFirstSlice_ = false;
    AudioRecordDelegate *delegate_ = nullptr;
    AudioPCMWaveDelegate *delegatePCMWave_ = nullptr;
    QString outputM4aFilePath_;
    QString outputMP3FilePath_;
    bool hasReportedFailure_ = false; // of the open file
    size_t heldAtHold_ = 0;           // blocks that were held when the hold began and have not been written
    uint64_t deliveredReports_ = 0;

    // The audio thread comes out of a sleep with every fragment, to cold caches: what it looks at for each block stands
    // together, with the large members behind it.

    // The open file. The main thread changes a handle under its lock; the audio thread and the writer test it without
    // the lock first, and a stale answer costs one block at the file's edge.
    std::mutex m4acloseFileCondition_;
    std::unique_ptr<ExtAudioFile> m4aFile_; // main thread owns
    std::atomic<ExtAudioFile *> outputM4aAudioFile_ = nullptr;
    std::mutex closeFileCondition_;
    std::atomic<FCHandle> outputMP3AudioFile_ = nullptr;
    std::atomic<int> mp3Error_ = 0; // writer; system error number of the open MP3 file

    // Counters. Relaxed: a lost add moves a cut by one block.
    std::atomic<int32_t> RecordedSize_ = 0;        // audio thread adds, main thread clears at open and close
    std::atomic<int32_t> AudioNULLNumber_ = 0;     // audio thread counts, main thread clears at a split and a close
    std::atomic<uint64_t> startHostTime_ = 0;      // audio thread, and the main thread while the unit stands
    std::atomic<uint64_t> endHostTime_ = 0;        // as startHostTime_
    std::atomic<qint64> recordedDurationTime_ = 0; // milliseconds; audio thread, main thread clears with RecordedSize_
    std::atomic<uint32_t> fileNumber_ = 0;         // main thread; changes with every open and close
    std::atomic<qint64> autoSplitTimeInterval_ = 1000; // main thread; milliseconds
    std::atomic<bool> cutsAtSilence_ = true;           // main thread
    std::atomic<int> holds_ = 0;                       // main thread; living BlockHolds
    std::atomic<bool> isInBlock_ = false;              // audio thread; a block is in work
    std::atomic<bool> splitPending_ = false;           // audio thread sets, main thread clears when the check has run
    std::atomic<bool> wantsSamples_ = false;           // main thread; a delegatePCMWave is set
    std::atomic<bool> wantsWake_ = true;               // main thread; it looks for reports only seldom
    std::atomic<int64_t> lostHeldBlocks_ = 0;          // audio thread; audible blocks that found the hold full
    std::atomic<int64_t> lostMP3Blocks_ = 0;           // audio thread and writer; blocks that no MP3 file took
    std::atomic<uint64_t> lostReports_ = 0;            // audio thread; reports that found the queue full
    std::atomic<bool> lostAudibleReport_ = false;      // audio thread sets, main thread clears

    // The way of a block to the MP3 writer.
    std::mutex mp3Condition_; // guards mp3WriteList_
    std::vector<audioDataMemery *> mp3WriteList_;
    std::atomic<bool> blStopThread_ = true; // main thread; true while the writer is to run, whatever the name suggests
    std::atomic<int> mp3Pending_ = 0; // blocks between the audio thread and the encoder; both count, main thread looks
    Semaphore mp3Hurry_;              // cuts the writer's idle sleep short

    // Audio thread only, while the unit runs; but under a BlockHold the main thread takes blocks out of the hold.
    qint64 nullDurationTime_ = 0; // consecutive silent blocks, whether recording or not
    bool hasHeardSound_ = false;
    SpscQueue<HeldBlock, 512> heldBlocks_; // 5.9 s, 2 MiB

    SpscQueue<BlockReport, 1024> reports_; // 11.9 s
    SpscQueue<SoundBlock, 64> samples_;    // 0.74 s; a display may miss blocks
    QTimer reportPoll_;
    MainThreadWakeup wake_{[this] { deliverReports(); }};

    // The MP3 pool and its writer.
    std::array<audioDataMemery, kMP3Blocks> mp3AudioMemlist_;
    audioDataMemery mp3WriteMem_; // writer; its isEmpty is false while a block waits for conversion
    std::array<int16_t, 2 * kBlockFrames> mp3FrameMem_{}; // writer
    std::thread mp3Threadone_;
};
