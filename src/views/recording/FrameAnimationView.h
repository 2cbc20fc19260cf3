// A view that plays a sequence of drawings: what the microphone, the cover and the wheel have in common.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"
#include "views/recording/SceneClock.h"

#include <QPixmap>
#include <QStringList>
#include <QWidget>

/// The drawings of an animation, each made when it is first shown.
class AnimationFrames {
public:
    /// The drawings named `format` with `first` and the following numbers, in as many `digits`; one that is missing is
    /// skipped.
    AnimationFrames(const QString &format, int first, int count, int digits = 2);

    int count() const { return static_cast<int>(names_.size()); }
    /// Null where there is no such frame.
    QPixmap at(int frame, qreal devicePixelRatio);
    /// Gives the memory back.
    void forget() { pixmaps_.clear(); }

private:
    QStringList names_;
    QList<QPixmap> pixmaps_; // for one screen and one appearance
    qreal devicePixelRatio_ = 0;
    bool isDark_ = false;
};

/// Where nobody can see it move, or the user wants no motion, its cycles take no time, and no timer runs.
class FrameAnimationView : public QWidget, private SceneMover {
public:
    /// `frames` are shared by all views of a kind. `seconds` is the time of one cycle, `key` the animation's name.
    FrameAnimationView(AnimationFrames &frames, double seconds, const QString &key, QWidget *parent);
    ~FrameAnimationView() override;

    /// Nothing while one runs.
    virtual void startAnimation();
    bool isAnimating() const { return isAnimating_; }
    int frame() const { return frame_; }

    /// Public for who has a clock of their own.
    void tick(qint64 milliseconds) final;

protected:
    /// The first frame is about to be shown.
    virtual void animationDidStart() {}
    /// A cycle is over. True begins the next one.
    virtual bool animationDidStop() = 0;
    /// What is shown while nothing may move.
    virtual int stillFrame() const { return 0; }
    void endAnimation();
    bool mayMove() const { return sight_.mayMove(); }
    void sightDidChange();
    void showFrame(int frame);
    AnimationFrames &frames() const { return frames_; }
    void paintEvent(QPaintEvent *event) override;

private:
    AnimationFrames &frames_;
    const qint64 duration_; // milliseconds
    SightWatch sight_{*this};
    bool isAnimating_ = false;
    qint64 cycleStart_ = -1; // negative until the first tick
    int frame_ = 0;
};
