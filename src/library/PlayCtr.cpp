#include "library/PlayCtr.h"

#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/NotificationCenter.h"
#include "store/TimeAndSizeText.h"
#include "views/controls/SketchButton.h"
#include "views/library/ListViewCtr.h"
#include "views/library/MyTableView.h"
#include "views/pictures/CoverCache.h"
#include "views/window/PlayPanel.h"

#include <QFile>
#include <QScopedValueRollback>
#include <chrono>

namespace {

constexpr std::chrono::milliseconds kDisplayPeriod{100};
constexpr QSize kCoverPixels(132, 132);       // 44 at the largest scale
constexpr qint64 kRestartMilliseconds = 3000; // up to here "previous" means the track before

bool isFileThere(const SongItem &song) { return QFile::exists(song.songPath()); }

double timeValueOf(MovieTime time) { return static_cast<double>(time.timeValue); }

qint64 millisecondsOf(MovieTime time) {
    return time.timeScale > 0 ? static_cast<qint64>(1000.0 * timeValueOf(time) / time.timeScale) : 0;
}

void setStatus(const SongPtr &song, SongStatus status) {
    if (song)
        song->setStatus(static_cast<int32_t>(status));
}

} // namespace

PlayCtr::PlayCtr(PlayCtrDelegate &delegate, ListViewCtr &list, SketchButton &playBtn, PlayPanel &playMusicView)
    : delegate_(delegate), listViewCtr_(list), playBtn_(playBtn), playProgressView_(playMusicView) {
    PlaySliderBar &bar = *playProgressView_.playSliderBar();
    bar.setDelegate(this);
    bar.setPlayTime(0);
    connect(&playBtn_, &SketchButton::clicked, this, &PlayCtr::play);
    connect(&musicTimer_, &QTimer::timeout, this, &PlayCtr::updatePlaySlider);
    musicTimer_.setInterval(kDisplayPeriod);
    connect(&CoverCache::shared(), &CoverCache::coverCame, this, [this](const CoverKey &key) {
        if (playItem_ && key.path == playItem_->imagePath() && key.pixels == kCoverPixels)
            showCover();
    });
    NotificationCenter::defaultCenter().addObserver(this, kMovieDidEndNotification, [this](const Notification &news) {
        Movie *const *movie = std::any_cast<Movie *>(&news.object);
        if (movie && *movie == music_.get() && isPlaying_)
            playDidEnd();
    });
}

PlayCtr::~PlayCtr() { playProgressView_.playSliderBar()->setDelegate(nullptr); }

// Starting

void PlayCtr::setPlayItem(const SongPtr &song) {
    setStatus(playItem_, SongStatus::Idle);
    playItem_ = song;
    listViewCtr_.setPlayItem(song);
    if (isShownCategory())
        setStatus(song, SongStatus::Playing);
}

void PlayCtr::playSongItem(const SongPtr &song) {
    music_.reset();
    delegate_.showPlayView(/*isSpectrum=*/false);
    QString error;
    music_ = Movie::initWithFile(song->songPath(), &error);
    MovieTime duration;
    if (music_) {
        connect(music_.get(), &Movie::playingDidFail, this, &PlayCtr::playingDidFail);
        connect(music_.get(), &Movie::durationDidChange, this, [this] {
            playProgressView_.playSliderBar()->setMaxTime(timeValueOf(music_->duration()));
            delegate_.playbackDidChange();
        });
        music_->play();
        music_->setVolume(volume_);
        duration = music_->duration();
    } else {
        delegate_.displayStatus(localizedString("\"%1\" can't be played: %2").arg(song->title(), error));
    }
    playProgressView_.playSliderBar()->setMaxTime(timeValueOf(duration));
    updatePlayTitle();
    musicTimer_.start();
    delegate_.didPlaySong();
    delegate_.playbackDidChange();
}

void PlayCtr::startSong(const SongPtr &song) {
    setPlayItem(song);
    isPlaying_ = true;
    playSongItem(song);
}

void PlayCtr::upDatePlayStatus(bool isPlaying) {
    if (isPlaying) {
        if (isAtEnd())
            playSongItem(playItem_);
        setStopedStatus(!isShownCategory());
        if (isShownCategory())
            setStatus(playItem_, SongStatus::Playing);
        movieIsPlaying(true);
    } else if (!isShownCategory()) {
        stopPlay();
    } else {
        setStatus(playItem_, SongStatus::Paused);
        movieIsPlaying(false);
        showPlayPicture();
    }
    listViewCtr_.reloadTable();
    delegate_.playbackDidChange();
}

void PlayCtr::movieIsPlaying(bool isPlaying) {
    playProgressView_.playSliderBar()->setIsPlaying(playItem_ != nullptr);
    if (isPlaying)
        musicTimer_.start();
    else
        musicTimer_.stop();
    if (!music_)
        return;
    if (isPlaying)
        music_->play();
    else
        music_->stop();
}

void PlayCtr::play() {
    if (delegate_.isDisplayRecordView() && !playItem_)
        return;
    if (isPlaying_ && !isShownCategory()) {
        stopPlay();
        return;
    }
    if (delegate_.isRecording())
        return;
    const double end = music_ ? timeValueOf(music_->duration()) : 0;
    if (!isPlaying_ && playProgressView_.playSliderBar()->playTime() >= end)
        playDidEnd();
    if (!playItem_) {
        playInCategory_ = delegate_.category();
        const SongPtr song = delegate_.getSelectedItem();
        if (!song || !isFileExist(song))
            return;
        startSong(song);
    } else {
        isPlaying_ = !isPlaying_;
    }
    upDatePlayStatus(isPlaying_);
    delegate_.showPlayView(/*isSpectrum=*/false);
}

void PlayCtr::doubleClickForPlay() {
    if (delegate_.isRecording())
        return;
    playInCategory_ = delegate_.category();
    const SongArray &songs = *listViewCtr_.songArray();
    const int row = listViewCtr_.tableView()->clickedRow();
    const SongPtr song = row >= 0 && row < songs.size() ? songs.at(row) : delegate_.getSelectedItem();
    if (!song || !isFileExist(song))
        return;
    startSong(song);
    upDatePlayStatus(isPlaying_);
}

void PlayCtr::RightMouseDownForPlay() {
    const SongPtr song = delegate_.getSelectedItem();
    if (!song)
        return;
    if (song == playItem_) {
        play();
        return;
    }
    playInCategory_ = delegate_.category();
    startSong(song);
    upDatePlayStatus(isPlaying_);
}

// Going on, and ending

const SongArray &PlayCtr::continuedList() const {
    static const SongArray none;
    if (isShownCategory())
        return *listViewCtr_.songArray();
    return playArray_ ? *playArray_ : none;
}

SongPtr PlayCtr::findPlaySongItem(const SongArray &songs) const {
    const qsizetype current = songs.indexOf(playItem_);
    if (current < 0)
        return nullptr;
    for (qsizetype i = current + 1; i < songs.size(); ++i) {
        if (isFileThere(*songs.at(i)))
            return songs.at(i);
        setStatus(songs.at(i), SongStatus::Missing);
    }
    return nullptr;
}

void PlayCtr::playDidEnd() {
    musicTimer_.stop();
    const SongPtr next = playItem_ ? findPlaySongItem(continuedList()) : nullptr;
    if (next) {
        setPlayItem(next);
        playSongItem(next);
    } else {
        stopPlay();
    }
    listViewCtr_.reloadTable();
}

void PlayCtr::playingDidFail(const QString &reason) {
    if (!playItem_)
        return;
    const QString title = playItem_->title();
    stopPlay();
    delegate_.displayStatus(localizedString("\"%1\" can't be played: %2").arg(title, reason));
}

void PlayCtr::stopPlay() {
    setStatus(playItem_, SongStatus::Idle);
    playItem_.reset();
    listViewCtr_.setPlayItem(nullptr);
    isPlaying_ = false;
    movieIsPlaying(false);
    showPlayPicture();
    delegate_.showPlayView(/*isSpectrum=*/true);
    playInCategory_ = QString();
    listViewCtr_.reloadTable();
    changePlayStatus();
    delegate_.playbackDidChange();
}

void PlayCtr::categoryWillChange(const QString &category) {
    if (playInCategory_.isNull())
        return;
    // Each change takes the list being left, so a second one replaces the list that plays by the one in between.
    playArray_ = category == playInCategory_ ? nullptr : std::make_shared<SongArray>(*listViewCtr_.songArray());
}

void PlayCtr::categoryDidChange() {
    if (playItem_ && !isPlaying_)
        stopPlay();
    if (!isPlaying_)
        return;
    setStatus(playItem_, isShownCategory() ? SongStatus::Playing : SongStatus::Idle);
    setStopedStatus(!isShownCategory());
}

// Next and previous, as keyboards have them

bool PlayCtr::hasNext() const {
    const SongArray &songs = continuedList();
    const qsizetype current = playItem_ ? songs.indexOf(playItem_) : -1;
    return current >= 0 && current + 1 < songs.size();
}

bool PlayCtr::hasPrevious() const { return playItem_ != nullptr; }

void PlayCtr::playNext() {
    if (!playItem_ || delegate_.isRecording())
        return;
    if (const SongPtr next = findPlaySongItem(continuedList())) {
        startSong(next);
        upDatePlayStatus(isPlaying_);
    }
}

SongPtr PlayCtr::findPrevious() const {
    const SongArray &songs = continuedList();
    for (qsizetype i = songs.indexOf(playItem_) - 1; i >= 0; --i)
        if (isFileThere(*songs.at(i)))
            return songs.at(i);
    return nullptr;
}

void PlayCtr::playPrevious() {
    if (!playItem_ || delegate_.isRecording())
        return;
    const SongPtr previous = playedMilliseconds() < kRestartMilliseconds ? findPrevious() : nullptr;
    if (!previous) {
        seekTo(0);
        return;
    }
    startSong(previous);
    upDatePlayStatus(isPlaying_);
}

// Position

bool PlayCtr::isAtEnd() const {
    const double end = playProgressView_.playSliderBar()->maxTime();
    if (!music_)
        return end <= 0;
    return end > 0 && timeValueOf(music_->currentTime()) >= end; // a slow disk has not told the length yet
}

qint64 PlayCtr::playedMilliseconds() const { return music_ && playItem_ ? millisecondsOf(music_->currentTime()) : 0; }

qint64 PlayCtr::durationMilliseconds() const { return music_ && playItem_ ? millisecondsOf(music_->duration()) : 0; }

void PlayCtr::updatePlaySlider() {
    const MovieTime now = music_ ? music_->currentTime() : MovieTime{};
    const qint64 played = millisecondsOf(now);
    playProgressView_.playSliderBar()->setPlayTime(timeValueOf(now));
    playProgressView_.setPlayedTime(ConvertTimeToHMS(played));
    playProgressView_.setLeftTime(QLatin1Char('-') + ConvertTimeToHMS((playItem_ ? playItem_->length() : 0) - played));
}

void PlayCtr::setPlayTime(double playTime) {
    if (!music_)
        return;
    const MovieTime duration = music_->duration();
    if (playTime >= timeValueOf(duration)) {
        if (isPlaying_) {
            playDidEnd();
        } else {
            music_->setCurrentTime(duration);
            // The bar drops the first report behind a drag, and play() goes by the bar.
            updatePlaySlider();
            QTimer::singleShot(kDisplayPeriod, this, &PlayCtr::updatePlaySlider);
        }
        logLine("stop play");
        return;
    }
    music_->setCurrentTime({static_cast<qint64>(playTime), duration.timeScale});
    updatePlaySlider();
    delegate_.playbackDidSeek();
}

void PlayCtr::seekTo(qint64 milliseconds) {
    if (music_ && playItem_)
        setPlayTime(static_cast<double>(qMax<qint64>(0, milliseconds)) * music_->duration().timeScale / 1000.0);
}

void PlayCtr::setVolume(float volume) {
    volume_ = volume;
    if (music_)
        music_->setVolume(volume);
    delegate_.playbackDidChange();
}

// What is shown

void PlayCtr::updatePlayTitle() {
    playProgressView_.setTitle(playItem_ ? playItem_->title() : QString());
    playProgressView_.setArtist(playItem_ ? playItem_->artist() : QString());
    showCover();
    delegate_.playbackDidChange();
}

void PlayCtr::showCover() {
    if (!playItem_)
        return;
    const CoverKey key{playItem_->imagePath(), playItem_->version(), kCoverPixels};
    const QImage cover = CoverCache::shared().cover(key);
    playProgressView_.setCover(QPixmap::fromImage(cover));
    CoverCache::shared().want(this, cover.isNull() ? QList<CoverKey>{key} : QList<CoverKey>{});
}

void PlayCtr::showPlayPicture() { playBtn_.setImages(playImages(), localizedString("Play")); }

void PlayCtr::setStopedStatus(bool isStopped) {
    if (isStopped)
        playBtn_.setImages(stopImages(), localizedString("Stop"));
    else
        playBtn_.setImages(pauseImages(), localizedString("Pause"));
}

bool PlayCtr::canPlay() const {
    if (delegate_.isRecording())
        return false;
    return playItem_ || (!delegate_.isDisplayRecordView() && !listViewCtr_.songArray()->isEmpty());
}

bool PlayCtr::changePlayStatus() {
    playBtn_.setEnabled(canPlay());
    return canPlay();
}

bool PlayCtr::isFileExist(SongPtr song) {
    if (!song) {
        const SongArray &songs = *listViewCtr_.songArray();
        const int row = listViewCtr_.tableView()->selectedRow();
        if (row < 0 || row >= songs.size())
            return false;
        song = songs.at(row);
    }
    if (isFileThere(*song))
        return true;
    if (asksForFile_) // a key of the keyboard's player comes through while the question stands
        return false;
    const QScopedValueRollback asks(asksForFile_, true);
    listViewCtr_.isSongItemExist(song, /*isWarning=*/true);
    listViewCtr_.reloadTable();
    return false;
}
