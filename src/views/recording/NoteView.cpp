#include "views/recording/NoteView.h"

#include "platform/run/Log.h"
#include "views/recording/FrameAnimationView.h"

#include <QEasingCurve>
#include <QPainter>
#include <QRegion>
#include <QtMath>
#include <utility>

namespace {

constexpr int kImages = 6;
constexpr double kLongestFlight = 1500; // milliseconds, to a corner
constexpr qreal kLastSize = 36;         // of a note at its target
constexpr qreal kMiddleScale = 3;       // of the image: where no flight ends
constexpr int kTries = 100;             // for a target; one in a thousand fails twice in the smallest scene
constexpr QPointF kNowhere(-1000, -1000);

AnimationFrames &noteImages() {
    static AnimationFrames images(QStringLiteral("Note%1.png"), 1, kImages, /*digits=*/1);
    return images;
}

} // namespace

NoteView::NoteView(QWidget *parent) : QWidget(parent), random_(QRandomGenerator::securelySeeded()) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&sight_, &SightWatch::changed, this, [this] { sightDidChange(); });
}

NoteView::~NoteView() { SceneClock::shared().remove(*this); }

void NoteView::startAnimation() {
    if (!cancel_)
        return;
    cancel_ = false;
    logLine("NoteView startAnimation");
    sightDidChange();
}

void NoteView::stopAnimation() {
    logLine("NoteView stopAnimation");
    cancel_ = true;
    if (!sight_.mayMove())
        hideNotes();
}

int NoteView::notesInSight() const {
    return static_cast<int>(
        std::count_if(notes_.begin(), notes_.end(), [](const Note &note) { return !note.isHidden; }));
}

void NoteView::sightDidChange() {
    if (sight_.mayMove()) {
        if (!SceneClock::shared().isMoving(*this))
            hideNotes(); // those that stood still
        initAnimation();
        return;
    }
    SceneClock::shared().remove(*this);
    hideNotes();
    if (sight_.isInSight() && !cancel_)
        arrangeStill();
}

// A flight for every note that is not in the air.
void NoteView::initAnimation() {
    if (cancel_)
        return;
    for (Note &note : notes_)
        if (note.isHidden)
            startFlight(note);
    SceneClock::shared().add(*this);
}

void NoteView::startFlight(Note &note) {
    note.image = random_.bounded(noteImages().count());
    const QSizeF size = imageOf(note).deviceIndependentSize();
    note.target = CGRandomTarget(size);
    if (note.target.isNull())
        return;
    const QPointF way = note.target - middle();
    const qreal longest = std::hypot((width() - size.width()) / 2, (height() - size.height()) / 2);
    note.ratio = std::hypot(static_cast<int>(way.x()), static_cast<int>(way.y())) / longest;
    note.start = -1;
    note.progress = 0;
    note.isHidden = false;
}

QPointF NoteView::CGRandomTarget(const QSizeF &imageSize) {
    const QSizeF room = QSizeF(size()) - imageSize;
    QRectF centre(QPointF(), imageSize * kMiddleScale);
    centre.moveCenter(middle());
    for (int i = 0; i < kTries && room.width() > 0 && room.height() > 0; ++i) {
        const QPointF target(imageSize.width() / 2 + random_.generateDouble() * room.width(),
                             imageSize.height() / 2 + random_.generateDouble() * room.height());
        if (!centre.contains(target))
            return target;
    }
    return {};
}

void NoteView::animationDidStop(Note &note) {
    note.isHidden = true;
    note.target = kNowhere;
}

void NoteView::tick(qint64 milliseconds) {
    QRegion changed;
    bool hasEnded = false;
    for (Note &note : notes_) {
        if (note.isHidden)
            continue;
        changed += frameOf(note);
        if (note.start < 0)
            note.start = milliseconds;
        note.progress = static_cast<qreal>(milliseconds - note.start) / qMax(1.0, note.ratio * kLongestFlight);
        if (note.progress >= 1) {
            animationDidStop(note);
            hasEnded = true;
        } else {
            changed += frameOf(note);
        }
    }
    if (hasEnded)
        initAnimation();
    if (notesInSight() == 0)
        SceneClock::shared().remove(*this);
    update(changed);
}

void NoteView::hideNotes() {
    for (Note &note : notes_)
        note.isHidden = true;
    update();
}

// As a drawing of flying notes would have them.
void NoteView::arrangeStill() {
    struct Place {
        qreal x, y, progress; // x and y as shares of the view
        int image;            // from 0
    };
    constexpr std::array<Place, 8> kPlaces = {{{0.16, 0.30, 0.75, 0},
                                               {0.31, 0.27, 0.35, 3},
                                               {0.41, 0.10, 0.6, 1},
                                               {0.22, 0.68, 0.6, 2},
                                               {0.62, 0.06, 0.5, 5},
                                               {0.72, 0.22, 0.3, 2},
                                               {0.87, 0.34, 0.8, 4},
                                               {0.79, 0.62, 0.5, 0}}};
    for (size_t i = 0; i < kPlaces.size(); ++i) {
        const auto &[x, y, progress, image] = kPlaces[i];
        Note &note = notes_[i];
        note.image = image;
        note.progress = progress;
        note.ratio = 0.9;
        note.target = {x * width(), y * height()};
        note.isHidden = false;
    }
    update();
}

QPixmap NoteView::imageOf(const Note &note) const { return noteImages().at(note.image, devicePixelRatioF()); }

/// Farther notes start larger; all end at one size.
qreal NoteView::sizeOf(const Note &note) const {
    const qreal first = imageOf(note).deviceIndependentSize().width() * note.ratio;
    return first + (kLastSize - first) * note.progress;
}

/// Thrown out and floating to a stop, in a slight bow.
QPointF NoteView::positionOf(const Note &note) const {
    if (!SceneClock::shared().isMoving(*this))
        return note.target;
    static const QEasingCurve curve(QEasingCurve::OutQuad);
    const QPointF way = note.target - middle();
    const QPointF bow = QPointF(way.y(), -way.x()) * (0.12 * qSin(M_PI * note.progress) * (way.x() < 0 ? -1 : 1));
    return middle() + way * curve.valueForProgress(note.progress) + bow;
}

QRect NoteView::frameOf(const Note &note) const {
    const qreal size = sizeOf(note);
    const QPointF position = positionOf(note);
    return QRectF(position.x() - size / 2, position.y() - size / 2, size, size).toAlignedRect();
}

void NoteView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (const Note &note : notes_) {
        if (note.isHidden)
            continue;
        const qreal size = sizeOf(note);
        const QPixmap image = imageOf(note);
        painter.setOpacity(1 - note.progress * note.progress);
        painter.drawPixmap(QRectF(positionOf(note) - QPointF(size, size) / 2, QSizeF(size, size)), image,
                           QRectF(image.rect()));
    }
}
