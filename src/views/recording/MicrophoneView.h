// The views that animate until they are told to stop: the microphone that breathes while something records, and the
// wheel that turns while something is under way.
//
// Threads: main.
#pragma once

#include "views/recording/FrameAnimationView.h"

/// Goes on cycle by cycle. A stop lets the running one end first, so that nothing breaks off, and a start before then
/// takes it back.
class RepeatingAnimationView : public FrameAnimationView {
public:
    using FrameAnimationView::FrameAnimationView;

    void startAnimation() override;
    void stopAnimation();

protected:
    bool animationDidStop() override;

private:
    bool cancel_ = false;
};

class MicrophoneView : public RepeatingAnimationView {
public:
    explicit MicrophoneView(QWidget *parent);

protected:
    int stillFrame() const override;
};

class ProgressView : public RepeatingAnimationView {
public:
    explicit ProgressView(QWidget *parent);
};
