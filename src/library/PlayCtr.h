// Playback: one track at a time, going on through the list in which it was started.
//
// Playback belongs to a category. While the user is in another one, a copy of the list that was left last stands for
// the list that goes on playing, and the play button stops instead of pausing.
//
// Threads: main.
#pragma once

#include "platform/media/Movie.h"
#include "store/SongArray.h"
#include "views/controls/PlaySliderBar.h"

#include <QObject>
#include <QTimer>
#include <memory>

class ListViewCtr;
class PlayPanel;
class SketchButton;

/// What playback asks for, and what it tells. Outlives its PlayCtr.
class PlayCtrDelegate {
public:
    virtual const QString &category() const = 0; ///< that is shown
    virtual SongPtr getSelectedItem() const = 0;
    virtual bool isRecording() const { return false; }
    virtual bool isDisplayRecordView() const { return false; }
    /// True: the spectrum takes the top box. False: the play panel does, unless something records.
    virtual void showPlayView([[maybe_unused]] bool isSpectrum) {}
    virtual void displayStatus([[maybe_unused]] const QString &status) {}
    /// A track was opened.
    virtual void didPlaySong() {}
    /// Something that is shown of playback elsewhere may have changed.
    virtual void playbackDidChange() {}
    /// The position jumped.
    virtual void playbackDidSeek() {}

protected:
    ~PlayCtrDelegate() = default;
};

class PlayCtr final : public QObject, public PlaySliderBarDelegate {
    Q_OBJECT
public:
    PlayCtr(PlayCtrDelegate &delegate, ListViewCtr &list, SketchButton &playBtn, PlayPanel &playMusicView);
    ~PlayCtr() override;

    const SongPtr &playItem() const { return playItem_; }
    bool isPlaying() const { return isPlaying_; }
    /// The category in which playback was started; null while nothing is loaded.
    const QString &playInCategory() const { return playInCategory_; }

    /// The play button: starts, pauses, goes on, or stops what plays in another category.
    void play();
    /// Starts the clicked track, or the selected one, from its beginning.
    void doubleClickForPlay();
    /// As the menu of the list has it, for a file that was found.
    void RightMouseDownForPlay();
    void stopPlay();
    /// Title, artist and cover again, as they are now.
    void updatePlayTitle();
    /// Whether the play button does something.
    bool canPlay() const;
    /// Enables the play button, or not; says which.
    bool changePlayStatus();
    /// From 0 to 1.
    void setVolume(float volume);
    float volume() const { return volume_; }
    /// Tells the user of a file that is gone, who may remove its track. Null stands for the selected row.
    bool isFileExist(SongPtr song);

    /// The list is about to show `category`: keeps what goes on playing.
    void categoryWillChange(const QString &category);
    /// It does now: a paused track ends, marks and button follow.
    void categoryDidChange();

    bool hasNext() const;
    bool hasPrevious() const;
    /// As at the end of a track; nothing without a next one.
    void playNext();
    /// The start of the track, or the track before within its first seconds.
    void playPrevious();
    void seekTo(qint64 milliseconds);
    qint64 playedMilliseconds() const;
    qint64 durationMilliseconds() const;

    bool isCanPlay() const override { return playItem_ != nullptr; }
    void setPlayTime(double playTime) override;

private:
    void startSong(const SongPtr &song);
    void setPlayItem(const SongPtr &song);
    void playSongItem(const SongPtr &song);
    void upDatePlayStatus(bool isPlaying);
    void playDidEnd();
    void playingDidFail(const QString &reason);
    const SongArray &continuedList() const;
    SongPtr findPlaySongItem(const SongArray &songs) const;
    SongPtr findPrevious() const;
    void updatePlaySlider();
    void setStopedStatus(bool isStopped);
    void showPlayPicture();
    void showCover();
    void movieIsPlaying(bool isPlaying);
    bool isShownCategory() const { return delegate_.category() == playInCategory_; }
    bool isAtEnd() const;

    PlayCtrDelegate &delegate_;
    ListViewCtr &listViewCtr_;
    SketchButton &playBtn_;
    PlayPanel &playProgressView_;
    std::unique_ptr<Movie> music_; // stays after stopPlay(), until the next track
    SongPtr playItem_;
    bool isPlaying_ = false;
    QString playInCategory_;
    SharedSongArray playArray_; // what goes on playing while its category is not shown
    QTimer musicTimer_;
    float volume_ = 0.7F;
    bool asksForFile_ = false;
};
