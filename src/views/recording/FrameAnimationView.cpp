#include "views/recording/FrameAnimationView.h"

#include "views/controls/Look.h"
#include "views/recording/SceneArtwork.h"

#include <QPainter>
#include <utility>

AnimationFrames::AnimationFrames(const QString &format, int first, int count, int digits) {
    for (int i = first; i < first + count; ++i)
        if (const QString name = format.arg(i, digits, 10, QLatin1Char('0')); isSceneImage(name))
            names_.append(name);
}

QPixmap AnimationFrames::at(int frame, qreal devicePixelRatio) {
    if (frame < 0 || frame >= names_.size())
        return {};
    if (devicePixelRatio_ != devicePixelRatio || isDark_ != Look::shared().isDark() || pixmaps_.isEmpty()) {
        devicePixelRatio_ = devicePixelRatio;
        isDark_ = Look::shared().isDark();
        pixmaps_ = QList<QPixmap>(names_.size());
    }
    QPixmap &pixmap = pixmaps_[frame];
    if (pixmap.isNull())
        pixmap = sceneImage(names_[frame], devicePixelRatio);
    return pixmap;
}

FrameAnimationView::FrameAnimationView(AnimationFrames &frames, double seconds, const QString &key, QWidget *parent)
    : QWidget(parent), frames_(frames), duration_(qRound64(seconds * 1000)) {
    setObjectName(key);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&sight_, &SightWatch::changed, this, [this] { sightDidChange(); });
}

FrameAnimationView::~FrameAnimationView() { SceneClock::shared().remove(*this); }

void FrameAnimationView::startAnimation() {
    if (std::exchange(isAnimating_, true))
        return;
    animationDidStart();
    sightDidChange();
}

void FrameAnimationView::sightDidChange() {
    if (!isAnimating_)
        return;
    if (mayMove()) {
        if (!SceneClock::shared().isMoving(*this))
            cycleStart_ = -1;
        SceneClock::shared().add(*this);
        return;
    }
    SceneClock::shared().remove(*this);
    if (animationDidStop())
        showFrame(stillFrame());
    else
        endAnimation();
}

void FrameAnimationView::endAnimation() {
    SceneClock::shared().remove(*this);
    isAnimating_ = false;
    showFrame(0);
}

void FrameAnimationView::tick(qint64 milliseconds) {
    if (cycleStart_ < 0)
        cycleStart_ = milliseconds;
    if (milliseconds - cycleStart_ >= duration_) {
        if (!animationDidStop()) {
            endAnimation();
            return;
        }
        // Where the clock came late the cycles that it missed are left out.
        cycleStart_ = milliseconds - (milliseconds - cycleStart_) % duration_;
    }
    showFrame(static_cast<int>((milliseconds - cycleStart_) * frames_.count() / duration_));
}

void FrameAnimationView::showFrame(int frame) {
    if (std::exchange(frame_, frame) != frame)
        update();
}

void FrameAnimationView::paintEvent(QPaintEvent *) {
    QPainter(this).drawPixmap(0, 0, frames_.at(frame_, devicePixelRatioF()));
}
