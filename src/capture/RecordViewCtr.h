// The recording session: starts, cuts and stops files on the capture engine, names them, turns each finished file into
// a track of the library or deletes it, and shows how the recording goes.
//
// Threads: main.
#pragma once

#include "capture/AudioRecord.h"
#include "capture/AudioTransToPCMWave.h"
#include "platform/sound/SoundServer.h"
#include "store/SongItem.h"
#include "views/recording/ImageFlowViewCtr.h"
#include "views/recording/RecordAnimationDelegate.h"
#include "views/recording/RecordingPage.h"
#include "views/recording/SpectrumView.h"
#include "views/window/DisplayBox.h"

#include <QHash>
#include <QObject>
#include <QTimer>
#include <any>
#include <functional>
#include <memory>

enum class DeviceType : int32_t { Microphone = 0, SystemAudio = 1 };

/// What the display tells of the recording.
enum class RecordingStatus : int32_t { Idle = 0, Waiting = 1, Recording = 2 };

/// Hears of the strip of tracks as well.
class RecordViewCtrDelegate : public ImageFlowViewCtrDelegate {
public:
    /// The sound of the recording that recordedSongItem() is about to tell of was played, by this computer, between
    /// these host times.
    virtual void recordedSongDidLast([[maybe_unused]] const SongItem &song, [[maybe_unused]] uint64_t fromHostTime,
                                     [[maybe_unused]] uint64_t toHostTime) {}
    /// A recording was kept and stands in the database.
    virtual void recordedSongItem([[maybe_unused]] const std::shared_ptr<SongItem> &song,
                                  [[maybe_unused]] DeviceType forDeviceType) {}
    /// The first sound of this run has come.
    virtual void showRecordView() {}
    /// Tracks recorded in this run; raised here by one with each.
    virtual int recordTracksNum() const { return 0; }
    virtual void setRecordTracksNum([[maybe_unused]] int count) {}
    /// The recording has been stopped because `path` could not be written, `reason` is the system's text.
    virtual void recordingDidFail([[maybe_unused]] const QString &path, [[maybe_unused]] const QString &reason) {}
    /// The file of a track that is over could not be finished; what is recorded now goes on.
    virtual void recordedFileDidFail([[maybe_unused]] const QString &path, [[maybe_unused]] const QString &reason) {}
    /// `seconds` of sound are missing in `path`. Once per recording, however many files it has and however much
    /// follows.
    virtual void recordingDidLoseSound([[maybe_unused]] const QString &path, [[maybe_unused]] float seconds) {}

protected:
    ~RecordViewCtrDelegate() = default;
};

/// Tests a folder for writing; where it may not be written, says so to the user. Against its name, true means that the
/// folder may NOT be used.
bool isDraggingDestPermited(const QString &folder);

class RecordViewCtr final : public QObject,
                            public AudioRecordDelegate,
                            public AudioTransToPCMWaveDelegate,
                            public SpectrumViewDataSource {
    Q_OBJECT
public:
    /// `view` is the page below the toolbar, `recordSpectrum` the box in it; both outlive this controller.
    RecordViewCtr(const InputUnitFactory &makeInputUnit, RecordingPage &view, DisplayBox &recordSpectrum);
    ~RecordViewCtr() override;

    // Start, stop and cut may come while a track is being finished, out of an event loop that somebody runs there. A
    // recording can be started then at once; what comes in the middle of a cut waits until the cut is through.

    /// Starts a recording into a new file. What the engine refuses is not looked at: the display waits for sound.
    void startRecordingFile(ExportType exportType, int forQualityType, DeviceType forDeviceType, DeviceID forDiveceID);
    void stopRecordingFile();
    /// Closes the current file and goes on in a new one, in the format that the user defaults name now; no sound is
    /// lost between them. Nothing unless a recording runs.
    void inciseRecordingFile();
    /// Brings the capture device and the input unit up, if the device is installed.
    void listenAudio();

    /// The files that are being recorded.
    QStringList pathsInProgress() const { return openFiles_.keys(); }

    ImageFlowViewCtr &imageFlowViewCtr() { return imageFlowViewCtr_; }

    /// What the toolbar's box shows of a recording.
    QWidget *getRecordingSpectrumView() const { return recordSpectrum_.recordSpectrum(); }

    void setDelegate(RecordViewCtrDelegate *delegate);
    RecordViewCtrDelegate *delegate() const { return delegate_; }
    void setAnimationdelegate(RecordAnimationDelegate *delegate) { animationdelegate_ = delegate; }
    RecordAnimationDelegate *animationdelegate() const { return animationdelegate_; }

    // What the engine says
    void soundFileRecorderReachedDuration(qint64 milliseconds) override;
    void recordingTimeForAudioIsNull(float seconds) override;
    void nullAudioSignal(bool isNull, qint64 forNullTime, qint64 forNullCount) override;
    void recordedFileDidLast(const QString &path, uint64_t fromHostTime, uint64_t toHostTime) override;
    void notifyRecordedFinish(const QString &path) override;
    void recordingFileDidFail(const QString &path, const QString &reason, bool isBeingRecorded) override;
    void recordingFileDidLoseSound(const QString &path, float seconds) override;

    void changedRecordingStatus(RecordingStatus status);

    // The spectrum
    void sendAudioSpectrum(const int32_t *bars) override;
    int numberOfColumnsInSpectrumView(SpectrumView &spectrumView) override;
    int objectValueForColumnIndex(SpectrumView &spectrumView, int index) override;

private:
    /// What a file is, as it was when it was opened and, behind that, closed.
    struct RecordedFile {
        QString path;
        qint64 number = 0; // of the track
        DeviceType deviceType = DeviceType::SystemAudio;
        ExportType format = ExportType::M4A;
        uint64_t fromHostTime = 0; // of its sound
        uint64_t toHostTime = 0;
    };

    static RecordedFile getSaveFileName(ExportType exportType, DeviceType deviceType);
    static int getBitrate(int qualityType);
    void beginFile(ExportType exportType, int qualityType);
    void finishRecordedFile(const RecordedFile &file);
    static bool nofiltrateAudioFile(const QVariant &length);
    static void dropRecordedFile(const RecordedFile &file);
    std::shared_ptr<SongItem> keepRecordedFile(const RecordedFile &file, qint64 size, const QVariantMap &info);
    void sendRecordedSongItem(const std::shared_ptr<SongItem> &song, DeviceType deviceType);
    bool splitsAtSilence() const;
    QString rotatingStatusText();

    void NotifyID3Change(const std::any &object);
    void NotifyDeleteSongItems(const std::any &object);
    void NotifyRestoreSongItems(const std::any &object);
    void devicesDidChange(const QList<SoundSource> &devices);
    void devicesDidIstall();
    void devicesDidUnistall();
    void clearUpOnMainThread();
    void clearSpectrum();
    void followSpectrum();

    RecordingPage &view_;
    DisplayBox &recordSpectrum_;
    RecordViewCtrDelegate *delegate_ = nullptr;
    ImageFlowViewCtr imageFlowViewCtr_;
    RecordAnimationDelegate *animationdelegate_ = nullptr;
    bool isFirstAudioData_ = false;          // the first audible block of this run has been seen
    bool recordStarting_ = false;            // a recording is in progress
    bool isCutting_ = false;                 // between the close of one file and the opening of the next
    bool hasToldLoss_ = false;               // of this recording
    QList<std::function<void()>> afterCut_;  // what was asked for in the middle of a cut
    QHash<QString, RecordedFile> openFiles_; // by path; what the engine writes, or could not make
    int32_t lastNumberWithoutRow_ = 0;       // counts down
    int songItemCount_ = 0;                  // tracks recorded in this run and still present
    int recordCountShow_ = 0;                // phase of the text that shows that the recording runs
    DeviceType deviceType_ = DeviceType::SystemAudio;
    DeviceID defaultDeviceID_ = 0;                // the default output at launch, then the device of the last recording
    QList<int> pcmNumberAry_ = QList<int>(kBars); // the columns that the spectrum shows
    QTimer soundEnd_;                             // runs out when no results come any more
    AudioTransToPCMWave audioTransToPCMWave_;     // outlives the engine, which speaks to it
    AudioRecord microRecord_;
};
