// The position in the track that plays.
//
// Threads: main.
#pragma once

#include "views/controls/ImageSlider.h"

class PlaySliderBarDelegate {
public:
    virtual bool isCanPlay() const { return false; }
    /// By the user's hand, in the unit of setMaxTime().
    virtual void setPlayTime([[maybe_unused]] double playTime) {}

protected:
    ~PlaySliderBarDelegate() = default;
};

class PlaySliderBar : public ImageSlider {
    Q_OBJECT
public:
    explicit PlaySliderBar(QWidget *parent);

    void setDelegate(PlaySliderBarDelegate *delegate) { delegate_ = delegate; }
    /// Without a length nothing is shown of a position.
    void setMaxTime(double maxTime);
    double maxTime() const { return maxTime_; }
    /// As the player reports it. The first report behind a drag is dropped; one below 0 or more than 0.1 above maxTime
    /// changes nothing that is shown.
    void setPlayTime(double playTime);
    double playTime() const { return playTime_; }
    /// The hand is heeded only while this is true.
    void setIsPlaying(bool isPlaying) { isPlaying_ = isPlaying; }
    void setPlaySliderImg(const QString &name);
    void setPlaySliderBtn(const QString &name);
    void setPlaySliderBackImg(const QString &name);

    double fraction() const override { return qMin(progressRate_, 1.0); }
    bool isHeeded() const override { return isPlaying_ && delegate_ && delegate_->isCanPlay(); }
    double step() const override { return 0.01; }

protected:
    void moveByHand(double fraction, Hand hand) override;

private:
    PlaySliderBarDelegate *delegate_ = nullptr;
    double maxTime_ = 0;
    double playTime_ = 0;
    double progressRate_ = 0;
    bool isDraged_ = false;
    bool isPlaying_ = false;
};
