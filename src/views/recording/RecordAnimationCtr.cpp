#include "views/recording/RecordAnimationCtr.h"

#include "views/recording/CloudView.h"
#include "views/recording/MicrophoneView.h"
#include "views/recording/NoteView.h"

#include <QEasingCurve>
#include <QEvent>
#include <QLabel>
#include <QPointer>

namespace {

// From the top, in the scene's own size.
constexpr QSize kScene(900, 355);
constexpr QRect kMicrophone(397, 130, 106, 141);
constexpr QSize kCover(220, 220);
constexpr int kNoteSide = 50;   // free at both sides of the notes
constexpr int kNoteBottom = 10; // and below
constexpr int kSlideMilliseconds = 750;
constexpr int kFirstCard = 68; // the middle of the newest track's card in the strip

} // namespace

RecordAnimationCtr &RecordAnimationCtr::recordAnimation() {
    static QPointer<RecordAnimationCtr> controller;
    if (!controller)
        controller = new RecordAnimationCtr;
    return *controller;
}

RecordAnimationCtr::RecordAnimationCtr()
    : view_(new QWidget),
      cloudView_(new CloudView(view_)),
      noteView_(new NoteView(view_)),
      microphoneView_(new MicrophoneView(view_)),
      coverView_(new CoverView(view_)),
      imageView_(new QLabel(view_)),
      sight_(*view_) {
    setParent(view_);
    view_->resize(kScene);
    view_->installEventFilter(this);
    imageView_->hide();
    coverView_->setDelegate(this);
    connect(&sight_, &SightWatch::changed, this, [this] {
        if (imageView_->isHidden())
            return;
        if (sight_.mayMove())
            imageView_->setPixmap(coverView_->lastFrame()); // light or dark, as it is now
        else
            slideDidStop();
    });
    resizeUI();
}

RecordAnimationCtr::~RecordAnimationCtr() { SceneClock::shared().remove(*this); }

QWidget *RecordAnimationCtr::imageView() const { return imageView_; }

bool RecordAnimationCtr::eventFilter(QObject *watched, QEvent *event) {
    if (watched == view_ && event->type() == QEvent::Resize)
        resizeUI();
    return false;
}

void RecordAnimationCtr::resizeUI() {
    const QSize size = view_->size();
    const QPoint moved((size.width() - kScene.width()) / 2, (size.height() - kScene.height()) / 2);
    cloudView_->setGeometry(view_->rect());
    noteView_->setGeometry(kNoteSide, 0, size.width() - 2 * kNoteSide, size.height() - kNoteBottom);
    microphoneView_->setGeometry(kMicrophone.translated(moved));
    const QPoint corner((size.width() - kCover.width()) / 2, size.height() - kCover.height());
    coverView_->setGeometry(QRect(corner, kCover));
    imageView_->setGeometry(coverView_->geometry());
}

void RecordAnimationCtr::startMicrophoneAnimation() { microphoneView_->startAnimation(); }
void RecordAnimationCtr::stopMicrophoneAnimation() { microphoneView_->stopAnimation(); }
void RecordAnimationCtr::startNoteAnimation() { noteView_->startAnimation(); }
void RecordAnimationCtr::stopNoteAnimation() { noteView_->stopAnimation(); }
void RecordAnimationCtr::startCoverAnimation() { coverView_->startAnimation(); }
void RecordAnimationCtr::stopCoverAnimation() { coverView_->stopAnimation(); }

void RecordAnimationCtr::animationDidStart() {
    if (delegate_)
        delegate_->animationDidStart();
}

// The cover has come: it slides away.
void RecordAnimationCtr::animationDidStop(bool finished) {
    if (delegate_)
        delegate_->animationDidStop(finished);
    if (!finished)
        return;
    imageView_->setPixmap(coverView_->lastFrame());
    imageView_->setGeometry(coverView_->geometry());
    imageView_->show();
    slideStart_ = -1;
    SceneClock::shared().add(*this);
}

void RecordAnimationCtr::tick(qint64 milliseconds) {
    if (slideStart_ < 0)
        slideStart_ = milliseconds;
    const qreal progress = static_cast<qreal>(milliseconds - slideStart_) / kSlideMilliseconds;
    if (progress >= 1) {
        slideDidStop();
        return;
    }
    const QPoint from = coverView_->pos();
    const QPoint to(kFirstCard - kCover.width() / 2, view_->height());
    const qreal along = QEasingCurve(QEasingCurve::InOutQuad).valueForProgress(progress);
    const qreal down = QEasingCurve(QEasingCurve::InQuad).valueForProgress(progress);
    imageView_->move(qRound(from.x() + (to.x() - from.x()) * along), qRound(from.y() + (to.y() - from.y()) * down));
}

void RecordAnimationCtr::slideDidStop() {
    SceneClock::shared().remove(*this);
    imageView_->hide();
    imageView_->setGeometry(coverView_->geometry());
    coverView_->stopAnimation(); // nothing runs any more
}
