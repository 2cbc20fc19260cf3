// The volume slider of the toolbar.
//
// Threads: main.
#pragma once

#include "views/controls/ImageSlider.h"

class SoundSliderDelegate {
public:
    /// By the user's hand: mouse, wheel or keys. From 0 to 1, or a hair more where the mouse is just beyond the end.
    virtual void volumeDidChanged([[maybe_unused]] float volume) {}

protected:
    ~SoundSliderDelegate() = default;
};

class SoundSlider : public ImageSlider {
    Q_OBJECT
public:
    explicit SoundSlider(QWidget *parent);

    void setDelegate(SoundSliderDelegate *delegate) { delegate_ = delegate; }
    /// Shows the value; tells nobody.
    void setVolume(float volume);
    float volume() const { return volume_; }
    void setIsEnable(bool isEnable);
    void setSoundSliderImg(const QString &name);
    void setSoundSliderBtn(const QString &name);
    void setSoundSliderBackImg(const QString &name);
    /// The name of the knob's drawing shown now.
    QString soundSliderBtn() const { return btn_; }

    double fraction() const override;
    bool isHeeded() const override { return isEnable_; }
    double step() const override { return 0.05; }

protected:
    void moveByHand(double fraction, Hand hand) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    SoundSliderDelegate *delegate_ = nullptr;
    float maxVolume_ = 1;
    float volume_ = 0;
    float percent_ = 0;
    bool isEnable_ = true;
};
