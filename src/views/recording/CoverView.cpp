#include "views/recording/CoverView.h"

namespace {

AnimationFrames &coverFrames() {
    static AnimationFrames frames(QStringLiteral("00200%1.png"), 50, 21);
    return frames;
}

} // namespace

CoverView::CoverView(QWidget *parent)
    : FrameAnimationView(coverFrames(), 1.5, QStringLiteral("CoverAnimaction"), parent) {}

// Large pictures for a second and a half: they are drawn anew for the next track.
void CoverView::stopAnimation() {
    if (!isAnimating())
        frames().forget();
}

void CoverView::animationDidStart() {
    update();
    if (delegate_)
        delegate_->animationDidStart();
}

bool CoverView::animationDidStop() {
    if (delegate_)
        delegate_->animationDidStop(/*finished=*/mayMove());
    if (!mayMove())
        frames().forget(); // nobody comes for the last one
    update();
    return false;
}

void CoverView::paintEvent(QPaintEvent *event) {
    if (isAnimating())
        FrameAnimationView::paintEvent(event);
}
