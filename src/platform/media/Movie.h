// Plays one audio file.
//
// Threads: main. The player below has threads of its own; what they say comes to the main thread.
#pragma once

#include "platform/media/MoviePlayer.h"
#include "platform/run/MainThread.h"

#include <QObject>
#include <QString>
#include <chrono>
#include <memory>
#include <optional>

/// A time as value and scale: seconds are timeValue / timeScale.
struct MovieTime {
    qint64 timeValue = 0;
    qint32 timeScale = 1'000'000;
};

/// Posted with the Movie * as object when its end was reached by playing, on the main thread and never from within a
/// call of Movie.
inline constexpr const char *kMovieDidEndNotification = "QTMovieDidEndNotification";

class Movie : public QObject {
    Q_OBJECT
public:
    /// Opens `path`, paused at its start. Null, with the reason in `error`, for a file that is missing or holds no
    /// sound that can be played. Waits for at most half a second: a file that needs longer (a sleeping disk) is opened
    /// on, and durationDidChange() tells when its length is known.
    static std::unique_ptr<Movie> initWithFile(const QString &path, QString *error);
    ~Movie() override;

    void play();
    /// Pauses; the position stays.
    void stop();
    MovieTime duration() const;
    MovieTime currentTime() const;
    /// Exact to a few milliseconds. Beyond the end it parks there.
    void setCurrentTime(MovieTime time);
    /// Linear, 0 to 1.
    void setVolume(float volume);

signals:
    void durationDidChange();
    /// The file could not be played on: it went, or is damaged. The end notification does not follow.
    void playingDidFail(const QString &reason);

private:
    using Clock = std::chrono::steady_clock;
    enum class FileState { Closed, Opening, Open };

    Movie(QString path, MoviePlayer::Ptr player);
    void open();
    bool waitUntilOpen();
    void handleEvents();
    void handle(const mpv_event &event);
    void fileDidOpen(qint64 duration);
    void fileDidEnd(int reason, int error);
    void didAnswer(const mpv_event &event);
    bool isWhole() const;
    void endNaturally();
    void fail(const QString &reason);
    QString reasonOf(int error) const;
    void playOn();
    void park();
    void hold(qint64 microseconds);
    void seekPlayer();
    void askForPosition() const;
    qint64 position() const;
    bool isBeforeSeek(qint64 microseconds) const;

    const QString path_;
    FileState fileState_ = FileState::Closed;
    QString openError_;                 // why the file could not be opened, null while it could
    qint64 duration_ = 0;               // microseconds; 0 until the file is open
    bool isDurationExact_ = true;       // and not estimated from a bit rate
    uint64_t endHook_ = 0;              // the player's question whether it may close the file
    std::optional<qint64> endPosition_; // microseconds; where the file that was closed last had come to
    bool isPlaying_ = false;
    bool isAtEnd_ = false;

    // The position, in microseconds. While it moves it is the one of the last answer and the time that has passed
    // since; until the first answer it stands where the playing begins, and the time is that of the call.
    qint64 held_ = 0;
    Clock::time_point heldSince_;
    bool isMoving_ = false;
    bool isSeeking_ = false;
    qint64 seekTarget_ = 0; // microseconds
    Clock::time_point seekSince_;
    uint64_t turn_ = 0;       // number of the last play, stop or seek; answers to earlier ones no longer count
    mutable qint64 told_ = 0; // since the last turn: the position does not step back
    mutable Clock::time_point asked_;

    MainThreadWakeup wakeup_;
    MoviePlayer::Ptr player_;
};
