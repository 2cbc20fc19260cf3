#include "views/controls/PlaySliderBar.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"

PlaySliderBar::PlaySliderBar(QWidget *parent) : ImageSlider(localizedString("Position"), parent) {}

void PlaySliderBar::setMaxTime(double maxTime) {
    maxTime_ = maxTime;
    if (!(maxTime_ > 0))
        progressRate_ = 0;
    fractionChanged();
}

void PlaySliderBar::setPlayTime(double playTime) {
    constexpr double kTolerance = 0.1;
    if (isDraged_) {
        isDraged_ = false;
        logLine(QStringLiteral("isdraging---------"));
        return;
    }
    playTime_ = playTime;
    if (!(playTime >= 0 && playTime <= maxTime_ + kTolerance))
        return;
    if (maxTime_ > 0)
        progressRate_ = playTime_ / maxTime_;
    fractionChanged();
}

void PlaySliderBar::setPlaySliderImg(const QString &name) {
    img_ = name;
    update();
}

void PlaySliderBar::setPlaySliderBtn(const QString &name) {
    btn_ = name;
    update();
}

void PlaySliderBar::setPlaySliderBackImg(const QString &name) {
    backImg_ = name;
    update();
}

// A player that has not got to the new place yet would draw the knob back: its next report is dropped. The steps of a
// held key build on each other, so they need that as well.
void PlaySliderBar::moveByHand(double fraction, Hand hand) {
    progressRate_ = fraction;
    if (hand != Hand::Press)
        isDraged_ = true;
    if (hand == Hand::Drag)
        logLine(QStringLiteral("drag   message  %1").arg(progressRate_ * maxTime_, 0, 'f', 6));
    fractionChanged();
    delegate_->setPlayTime(progressRate_ * maxTime_);
}
