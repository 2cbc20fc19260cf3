#include "views/recording/MicrophoneView.h"

#include "platform/run/Log.h"

namespace {

constexpr int kFullBreath = 12; // with the lamp lit and sound going out

AnimationFrames &microphoneFrames() {
    static AnimationFrames frames(QStringLiteral("00100%1.png"), 0, 36);
    return frames;
}

AnimationFrames &progressFrames() {
    static AnimationFrames frames(QStringLiteral("00300%1.png"), 0, 12);
    return frames;
}

} // namespace

void RepeatingAnimationView::startAnimation() {
    cancel_ = false;
    FrameAnimationView::startAnimation();
}

void RepeatingAnimationView::stopAnimation() {
    cancel_ = true;
    if (!mayMove())
        sightDidChange(); // no cycle is running that would end
}

bool RepeatingAnimationView::animationDidStop() {
    if (cancel_)
        logLine("MicrophoneView stopAnimation"); // of the wheel, too
    return !cancel_;
}

MicrophoneView::MicrophoneView(QWidget *parent)
    : RepeatingAnimationView(microphoneFrames(), 2.4, QStringLiteral("MicrophoneAnimaction"), parent) {}

int MicrophoneView::stillFrame() const { return kFullBreath; }

ProgressView::ProgressView(QWidget *parent)
    : RepeatingAnimationView(progressFrames(), 0.9, QStringLiteral("ProgressAnimaction"), parent) {}
