// The scene of the recording page: a microphone that breathes while something records, notes that fly out of it, and a
// cover that appears with each new track and slides down to the strip of tracks.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"
#include "views/recording/CoverView.h"
#include "views/recording/RecordAnimationDelegate.h"
#include "views/recording/SceneClock.h"

#include <QObject>
#include <QPoint>

class CloudView;
class MicrophoneView;
class NoteView;
class QLabel;

/// Hears of the cover's animation. Outlives the controller or takes itself back.
class RecordAnimationCtrDelegate {
public:
    virtual void animationDidStart() {}
    /// The cover has appeared and slides away now; not `finished` when nobody could see it.
    virtual void animationDidStop([[maybe_unused]] bool finished) {}

protected:
    ~RecordAnimationCtrDelegate() = default;
};

class RecordAnimationCtr final : public QObject,
                                 public RecordAnimationDelegate,
                                 private CoverViewDelegate,
                                 private SceneMover {
    Q_OBJECT
public:
    /// The one of the program. It goes with its view, and the next question makes another.
    static RecordAnimationCtr &recordAnimation();
    ~RecordAnimationCtr() override;

    /// The scene, drawn for 900 x 355; in a larger view it keeps to the middle, and the cover to the bottom.
    QWidget *view() const { return view_; }
    MicrophoneView *microphoneView() const { return microphoneView_; }
    CoverView *coverView() const { return coverView_; }
    NoteView *noteView() const { return noteView_; }
    /// The cover that slides away; hidden before and after.
    QWidget *imageView() const;

    void setDelegate(RecordAnimationCtrDelegate *delegate) { delegate_ = delegate; }

    void startMicrophoneAnimation() override;
    void stopMicrophoneAnimation() override;
    void startCoverAnimation() override;
    void stopCoverAnimation() override;
    void startNoteAnimation() override;
    void stopNoteAnimation() override;

    /// Public for who has a clock of their own.
    void tick(qint64 milliseconds) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    RecordAnimationCtr();
    void resizeUI();
    void animationDidStart() override;
    void animationDidStop(bool finished) override;
    void slideDidStop();

    QWidget *view_; // owns this, with all views
    CloudView *cloudView_;
    NoteView *noteView_; // below the microphone, out of which the notes come
    MicrophoneView *microphoneView_;
    CoverView *coverView_;
    QLabel *imageView_;
    SightWatch sight_;
    RecordAnimationCtrDelegate *delegate_ = nullptr;
    qint64 slideStart_ = -1; // on the clock; negative until the first tick
};
