// The cover that appears in the scene when a track is finished.
//
// Threads: main.
#pragma once

#include "views/recording/FrameAnimationView.h"

class CoverViewDelegate {
public:
    virtual void animationDidStart() {}
    /// `finished` unless it was cut short, or could not be seen from the start.
    virtual void animationDidStop([[maybe_unused]] bool finished) {}

protected:
    ~CoverViewDelegate() = default;
};

/// Empty but for the time of its animation, which runs once for each start.
class CoverView : public FrameAnimationView {
public:
    explicit CoverView(QWidget *parent);

    void setDelegate(CoverViewDelegate *delegate) { delegate_ = delegate; }
    /// Nothing while the animation runs: it ends by itself.
    void stopAnimation();
    /// The cover as the animation leaves it.
    QPixmap lastFrame() const { return frames().at(frames().count() - 1, devicePixelRatioF()); }

protected:
    void animationDidStart() override;
    bool animationDidStop() override;
    void paintEvent(QPaintEvent *event) override;

private:
    CoverViewDelegate *delegate_ = nullptr;
};
