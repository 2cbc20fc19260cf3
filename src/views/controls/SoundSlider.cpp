#include "views/controls/SoundSlider.h"

#include "platform/run/LocalizedString.h"

#include <QMouseEvent>

namespace {
const QString kKnob = QStringLiteral("Volume_btn.png");
const QString kPressedKnob = QStringLiteral("Volume_btn_sel.png");
} // namespace

SoundSlider::SoundSlider(QWidget *parent) : ImageSlider(localizedString("Volume"), parent) {}

void SoundSlider::setVolume(float volume) {
    volume_ = volume;
    percent_ = volume / maxVolume_;
    fractionChanged();
}

// A hand on the knob has let go of it once the slider is disabled.
void SoundSlider::setIsEnable(bool isEnable) {
    isEnable_ = isEnable;
    setEnabled(isEnable);
    if (!isEnable)
        setSoundSliderBtn(kKnob);
}

void SoundSlider::setSoundSliderImg(const QString &name) {
    img_ = name;
    update();
}

void SoundSlider::setSoundSliderBtn(const QString &name) {
    btn_ = name;
    update();
}

void SoundSlider::setSoundSliderBackImg(const QString &name) {
    backImg_ = name;
    update();
}

double SoundSlider::fraction() const { return percent_ >= 0 ? qMin(static_cast<double>(percent_), 1.0) : 0; }

void SoundSlider::moveByHand(double fraction, Hand) {
    percent_ = static_cast<float>(fraction);
    volume_ = percent_ * maxVolume_;
    if (delegate_)
        delegate_->volumeDidChanged(volume_);
    fractionChanged();
}

void SoundSlider::mousePressEvent(QMouseEvent *event) {
    if (isEnable_ && event->button() == Qt::LeftButton)
        setSoundSliderBtn(kPressedKnob);
    ImageSlider::mousePressEvent(event);
}

void SoundSlider::mouseReleaseEvent(QMouseEvent *event) {
    if (isEnable_ && event->button() == Qt::LeftButton)
        setSoundSliderBtn(kKnob);
}
