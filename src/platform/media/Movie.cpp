#include "platform/media/Movie.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"

#include <QFileInfo>
#include <cmath>
#include <limits>
#include <mpv/client.h>

namespace {

using namespace std::chrono_literals;

constexpr auto kOpenPatience = 500ms;
constexpr auto kAskInterval = 100ms;
// A player that has not answered for so long plays nothing.
constexpr auto kLongestExtrapolation = 400ms;
constexpr auto kSeekSettles = 2s;
constexpr auto kSeekSlack = 300ms;
constexpr qint64 kScale = 1'000'000;
// A file that ends so much before its length has lost its rest; rounded lengths and padding are far below.
constexpr qint64 kMissingSound = 1 * kScale;

// Bears the number of the answer to the question where the file ended.
constexpr uint64_t kEndReply = std::numeric_limits<uint64_t>::max();

constexpr const char *kPosition = "time-pos";
constexpr const char *kDuration = "duration";
constexpr const char *kFormat = "file-format";

qint64 microsecondsOf(MovieTime time) {
    const double microseconds =
        static_cast<double>(time.timeValue) * (static_cast<double>(kScale) / std::max(time.timeScale, 1));
    return time.timeScale == kScale ? time.timeValue : static_cast<qint64>(std::clamp(microseconds, 0.0, 1e18));
}

} // namespace

Movie::Movie(QString path, MoviePlayer::Ptr player)
    : path_(std::move(path)), wakeup_([this] { handleEvents(); }), player_(std::move(player)) {}

Movie::~Movie() = default;

std::unique_ptr<Movie> Movie::initWithFile(const QString &path, QString *error) {
    // The system would read a shorter name.
    MoviePlayer::Ptr player = path.contains(QChar::Null) ? nullptr : MoviePlayer::create();
    if (!player) {
        if (error)
            *error = localizedString("The file can't be read.");
        return nullptr;
    }
    std::unique_ptr<Movie> movie(new Movie(path, std::move(player)));
    movie->open();
    if (movie->waitUntilOpen())
        return movie;
    if (error)
        *error = movie->openError_;
    return nullptr;
}

bool Movie::waitUntilOpen() {
    const auto deadline = Clock::now() + kOpenPatience;
    while (openError_.isNull() && fileState_ == FileState::Opening) {
        const std::chrono::duration<double> left = deadline - Clock::now();
        if (left.count() <= 0)
            break;
        handle(player_->nextEvent(left.count()));
    }
    player_->setWakeup([](void *wakeup) { static_cast<MainThreadWakeup *>(wakeup)->signal(); }, &wakeup_);
    wakeup_.signal(); // for what came before
    return openError_.isNull();
}

void Movie::play() {
    if (isPlaying_)
        return;
    isPlaying_ = true;
    if (isAtEnd_)
        setCurrentTime({});
    if (fileState_ == FileState::Closed)
        open();
    else if (fileState_ == FileState::Open)
        playOn();
}

void Movie::stop() {
    hold(position());
    isPlaying_ = false;
    player_->setPaused(/*isPaused=*/true, ++turn_);
}

MovieTime Movie::duration() const { return {.timeValue = duration_}; }

MovieTime Movie::currentTime() const {
    askForPosition();
    return {.timeValue = position()};
}

void Movie::setCurrentTime(MovieTime time) {
    ++turn_;
    isAtEnd_ = false;
    hold(std::max<qint64>(microsecondsOf(time), 0));
    if (fileState_ == FileState::Open && duration_ > 0 && held_ >= duration_)
        park();
    else if (fileState_ == FileState::Open)
        seekPlayer();
    else if (fileState_ == FileState::Closed && isPlaying_)
        open();
}

void Movie::setVolume(float volume) { player_->setVolume(std::isnan(volume) ? 0.0f : std::clamp(volume, 0.0f, 1.0f)); }

void Movie::open() {
    fileState_ = FileState::Opening;
    endPosition_.reset();
    player_->load(path_);
}

void Movie::handleEvents() {
    for (;;) {
        const mpv_event &event = player_->nextEvent(/*seconds=*/0);
        if (event.event_id == MPV_EVENT_NONE)
            return;
        handle(event);
    }
}

void Movie::handle(const mpv_event &event) {
    switch (event.event_id) {
    case MPV_EVENT_FILE_LOADED:
        player_->askForText(kFormat, /*reply=*/0);
        player_->askForNumber(kDuration, /*reply=*/0);
        break;
    case MPV_EVENT_END_FILE: {
        const auto *end = static_cast<const mpv_event_end_file *>(event.data);
        fileDidEnd(end->reason, end->error);
        break;
    }
    case MPV_EVENT_PLAYBACK_RESTART:
        isSeeking_ = false;
        asked_ = {};
        askForPosition();
        break;
    case MPV_EVENT_HOOK:
        endHook_ = static_cast<const mpv_event_hook *>(event.data)->id;
        player_->askForNumber(kPosition, kEndReply);
        break;
    case MPV_EVENT_GET_PROPERTY_REPLY:
        if (event.error >= 0)
            didAnswer(event);
        if (event.reply_userdata == kEndReply)
            player_->letFileGo(endHook_);
        break;
    default:
        break;
    }
}

void Movie::didAnswer(const mpv_event &event) {
    const auto *property = static_cast<const mpv_event_property *>(event.data);
    if (property->format == MPV_FORMAT_STRING) {
        // Lengths of MP4 files stand in them; the others' are reckoned from a bit rate where they lack an info frame.
        isDurationExact_ = QByteArray(*static_cast<char **>(property->data)).contains("mp4");
        return;
    }
    const auto microseconds = static_cast<qint64>(std::llround(*static_cast<double *>(property->data) * kScale));
    if (qstrcmp(property->name, kDuration) == 0) {
        fileDidOpen(microseconds);
    } else if (event.reply_userdata == kEndReply) {
        endPosition_ = microseconds;
        if (isMoving_) // one that has not got to its start yet, for want of a sound server, tells 0
            hold(std::max(microseconds, held_));
    } else if (event.reply_userdata == turn_ && isPlaying_ && !isSeeking_ && fileState_ == FileState::Open &&
               !isBeforeSeek(microseconds)) {
        held_ = microseconds;
        heldSince_ = Clock::now();
        isMoving_ = true;
    }
}

void Movie::fileDidOpen(qint64 duration) {
    if (fileState_ != FileState::Opening)
        return;
    fileState_ = FileState::Open;
    if (duration != duration_) {
        duration_ = duration;
        emit durationDidChange();
    }
    if (held_ >= duration_) {
        park();
        return;
    }
    if (held_ > 0)
        seekPlayer();
    if (isPlaying_)
        playOn();
}

void Movie::playOn() {
    heldSince_ = Clock::now();
    player_->setPaused(/*isPaused=*/false, ++turn_);
}

void Movie::fileDidEnd(int reason, int error) {
    const bool wasOpen = fileState_ == FileState::Open;
    fileState_ = FileState::Closed;
    isSeeking_ = false;
    // Without a sound server the file may be as good as any.
    if (!wasOpen && duration_ == 0 && error != MPV_ERROR_AO_INIT_FAILED)
        openError_ = reasonOf(error);
    // Paused, it is opened again when it shall play on.
    if (!isPlaying_ && openError_.isNull())
        return;
    if (reason == MPV_END_FILE_REASON_EOF && isWhole())
        endNaturally();
    else
        fail(reasonOf(error));
}

bool Movie::isWhole() const {
    return !player_->isFileFaulty() && (!isDurationExact_ || endPosition_ > duration_ - kMissingSound);
}

// What follows runs in a turn of its own: its receivers may well put another movie in the place of this one.

void Movie::endNaturally() {
    park();
    QMetaObject::invokeMethod(
        this,
        [this, turn = turn_] {
            if (turn == turn_)
                NotificationCenter::defaultCenter().postNotification(kMovieDidEndNotification, this);
        },
        Qt::QueuedConnection);
}

void Movie::fail(const QString &reason) {
    hold(position());
    isPlaying_ = false;
    QMetaObject::invokeMethod(
        this, [this, reason] { emit playingDidFail(reason); }, Qt::QueuedConnection);
}

QString Movie::reasonOf(int error) const {
    switch (error) {
    case MPV_ERROR_LOADING_FAILED:
        return localizedString(QFileInfo::exists(path_) ? "The file can't be read." : "The file can't be found.");
    case MPV_ERROR_UNKNOWN_FORMAT:
    case MPV_ERROR_NOTHING_TO_PLAY:
        return localizedString("The file holds no sound that can be played.");
    case MPV_ERROR_AO_INIT_FAILED:
        return localizedString("There is no sound server to play to.");
    default:
        return localizedString("The file is damaged.");
    }
}

/// Stands at the end, paused.
void Movie::park() {
    ++turn_;
    isPlaying_ = false;
    isAtEnd_ = true;
    hold(duration_);
    player_->setPaused(/*isPaused=*/true, turn_);
}

void Movie::hold(qint64 microseconds) {
    held_ = microseconds;
    heldSince_ = Clock::now();
    told_ = microseconds;
    isMoving_ = false;
}

/// Right after a seek the player tells positions that were; so none is asked for until it plays on.
void Movie::seekPlayer() {
    isSeeking_ = true;
    seekTarget_ = held_;
    seekSince_ = Clock::now();
    player_->seek(held_, turn_);
}

/// The answer comes as an event. What is asked for ten times a second costs the player nothing in between.
void Movie::askForPosition() const {
    const auto now = Clock::now();
    if (!isPlaying_ || isSeeking_ || fileState_ != FileState::Open || now - asked_ < kAskInterval)
        return;
    asked_ = now;
    player_->askForNumber(kPosition, turn_);
}

/// Whether `microseconds` is where the player stood before it was sent elsewhere: that it has begun to play the file
/// may be heard behind the wish to seek in it, and looks like the end of that seek.
bool Movie::isBeforeSeek(qint64 microseconds) const {
    const auto passed = Clock::now() - seekSince_;
    const qint64 latest =
        seekTarget_ + std::chrono::duration_cast<std::chrono::microseconds>(passed + kSeekSlack).count();
    return passed < kSeekSettles &&
           (microseconds < seekTarget_ - std::chrono::microseconds(kSeekSlack).count() || microseconds > latest);
}

qint64 Movie::position() const {
    if (!isMoving_)
        return held_;
    const auto passed = std::min<Clock::duration>(Clock::now() - heldSince_, kLongestExtrapolation);
    const qint64 now = held_ + std::chrono::duration_cast<std::chrono::microseconds>(passed).count();
    // At the end it is only once the player says so.
    told_ = std::clamp(now, std::min(told_, duration_ - 1), duration_ - 1);
    return told_;
}
