#include "views/library/ImageFlow.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/Sketch.h"
#include "views/pictures/CoverCache.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QtMath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Measures of a band 712 wide, the list's width without the tag editor; a narrower band has narrower covers.
constexpr qreal kDrawnWidth = 712;
constexpr qreal kMiddleSide = 124;
constexpr qreal kMiddleTop = 15;
constexpr qreal kFirstWidth = 80; // of the cover beside the middle; each further one is narrower by kNarrower
constexpr qreal kNarrower = 10;
constexpr qreal kLeastWidth = 44;
constexpr qreal kGap = 10;
constexpr qreal kOuterHeight = 104; // of a side cover's edge away from the middle
constexpr qreal kInnerHeight = 92;
constexpr qreal kTitleGap = 8;
constexpr qreal kTitleHeight = 16;
constexpr qreal kTitleMargin = 20;

constexpr qreal kFarthestGlide = 6; // places; what lies beyond is jumped over
constexpr qreal kFineScreen = 1.5;  // device pixels in a pixel
constexpr int kWheelStep = 120;     // eighths of a degree, one notch
constexpr qreal kDragPlace = 80;    // pixels of a drag that move one place

// The band is dark in both appearances: a shade deeper than ink, or than the page.
QColor bandColour() { return lookColour(Look::shared().isDark() ? LookColour::Paper : LookColour::Ink).darker(120); }

QColor bandTextColour() { return lookColour(Look::shared().isDark() ? LookColour::Ink : LookColour::Paper); }

QColor mixed(const QColor &a, const QColor &b, float share) {
    return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * share, a.greenF() + (b.greenF() - a.greenF()) * share,
                            a.blueF() + (b.blueF() - a.blueF()) * share);
}

/// A slider over the items, whose value in words is the one in the middle.
class FlowAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit FlowAccessible(IKImageFlowView *flow) : QAccessibleWidget(flow, QAccessible::Slider), flow_(flow) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    // Not every screen reader asks for a value in words; all of them read the description.
    QString text(QAccessible::Text text) const override {
        if (text == QAccessible::Value || text == QAccessible::Description)
            return flow_->selectedText();
        return QAccessibleWidget::text(text);
    }
    QVariant currentValue() const override { return flow_->selectedIndex() + 1; }
    void setCurrentValue(const QVariant &value) override { flow_->setSelectedIndex(value.toInt() - 1); }
    QVariant maximumValue() const override { return flow_->numberOfItems(); }
    QVariant minimumValue() const override { return qMin(1, flow_->numberOfItems()); }
    QVariant minimumStepSize() const override { return 1; }

private:
    IKImageFlowView *flow_;
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *flow = qobject_cast<IKImageFlowView *>(object);
    return flow ? new FlowAccessible(flow) : nullptr;
}

} // namespace

IKImageFlowView::IKImageFlowView(QWidget *parent) : QWidget(parent) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(localizedString("Covers"));
    animation_.setDuration(kGlideMilliseconds);
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        position_ = value.toReal();
        update();
    });
    connect(&CoverCache::shared(), &CoverCache::coverCame, this, qOverload<>(&QWidget::update));
}

void IKImageFlowView::setDelegate(ImageFlowDelegate *delegate) { delegate_ = delegate; }

void IKImageFlowView::setDataSource(ImageFlowDataSource *dataSource) {
    dataSource_ = dataSource;
    reloadData();
}

void IKImageFlowView::reloadData() {
    numberOfItems_ = dataSource_ ? qMax(0, dataSource_->numberOfItemsInImageFlow(*this)) : 0;
    selectedIndex_ = numberOfItems_ == 0 ? -1 : std::clamp(selectedIndex_, 0, numberOfItems_ - 1);
    isPressed_ = isDragging_ = false; // what the button holds may be another item now
    pressedIndex_ = -1;
    stopGliding();
    tellAccessibility();
}

int IKImageFlowView::selectedIndex() const { return selectedIndex_; }

void IKImageFlowView::setSelectedIndex(int index) {
    if (!select(index))
        return;
    isPressed_ = isDragging_ = false; // somebody else moves it now
    glide();
}

// The new index counts, and is told, before anything moves.
bool IKImageFlowView::select(int index) {
    if (numberOfItems_ == 0)
        return false;
    index = std::clamp(index, 0, numberOfItems_ - 1);
    if (index == selectedIndex_)
        return false;
    selectedIndex_ = index;
    update();
    tellAccessibility();
    if (delegate_)
        delegate_->didSelectItemAtIndex(*this, index);
    return true;
}

void IKImageFlowView::glide() {
    const qreal target = qMax(0, selectedIndex_);
    if (!isVisible() || position_ == target || Look::shared().isMotionReduced()) {
        stopGliding();
        return;
    }
    animation_.stop();
    position_ = std::clamp(position_, target - kFarthestGlide, target + kFarthestGlide);
    animation_.setStartValue(position_);
    animation_.setEndValue(target);
    animation_.start();
}

void IKImageFlowView::stopGliding() {
    animation_.stop();
    position_ = qMax(0, selectedIndex_);
    update();
}

SongPtr IKImageFlowView::songAt(int index) { return dataSource_ ? dataSource_->itemAtIndex(*this, index) : nullptr; }

QString IKImageFlowView::selectedText() {
    const SongPtr song = selectedIndex_ < 0 ? nullptr : songAt(selectedIndex_);
    if (!song)
        return {};
    QStringList parts{oneLine(song->title()), oneLine(song->artist())};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

void IKImageFlowView::tellAccessibility() {
    if (!QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent value(this, selectedIndex_ + 1);
    QAccessible::updateAccessibility(&value);
    QAccessibleEvent description(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&description);
}

QSize IKImageFlowView::sizeHint() const { return {qRound(kDrawnWidth), kHeight}; }

// What stands left of the middle is the mirror image of what stands right of it.
QPolygonF IKImageFlowView::cornersAtPlace(int place) const {
    const qreal middle = width() / 2.0;
    const qreal scale = std::clamp(width() / kDrawnWidth, 0.5, 1.0);
    const qreal half = kMiddleSide / 2;
    const qreal y = kMiddleTop + half;
    if (place == 0)
        return QPolygonF(QRectF(middle - half, kMiddleTop, kMiddleSide, kMiddleSide)).mid(0, 4);
    const auto widthOf = [&](int i) { return qMax(kLeastWidth, kFirstWidth - kNarrower * (i - 1)) * scale; };
    // Behind the fourth place all are of the least width.
    const int narrowing = qMin(std::abs(place), 5);
    qreal inner = half + kGap;
    for (int i = 1; i < narrowing; ++i)
        inner += widthOf(i) + kGap;
    inner += (std::abs(place) - narrowing) * (widthOf(narrowing) + kGap);
    const qreal outer = inner + widthOf(narrowing);
    const qreal side = place < 0 ? -1 : 1;
    const QPointF innerUpper(middle + side * inner, y - kInnerHeight / 2);
    const QPointF innerLower(middle + side * inner, y + kInnerHeight / 2);
    const QPointF outerUpper(middle + side * outer, y - kOuterHeight / 2);
    const QPointF outerLower(middle + side * outer, y + kOuterHeight / 2);
    return place < 0 ? QPolygonF{outerUpper, innerUpper, innerLower, outerLower}
                     : QPolygonF{innerUpper, outerUpper, outerLower, innerLower};
}

QPolygonF IKImageFlowView::corners(qreal places) const {
    const qreal below = std::floor(places);
    const QPolygonF from = cornersAtPlace(static_cast<int>(below));
    const QPolygonF to = cornersAtPlace(static_cast<int>(below) + 1);
    QPolygonF between;
    for (int i = 0; i < from.size(); ++i)
        between.append(from.at(i) + (to.at(i) - from.at(i)) * (places - below));
    return between;
}

// From the outermost to the middle, in the order of drawing.
QList<int> IKImageFlowView::seenIndexes() const {
    QList<int> seen;
    if (numberOfItems_ == 0)
        return seen;
    const int middle = std::clamp(qRound(position_), 0, numberOfItems_ - 1);
    const auto isSeen = [&](int index) { return corners(index - position_).boundingRect().intersects(QRectF(rect())); };
    seen.append(middle);
    for (int index = middle - 1; index >= 0 && isSeen(index); --index)
        seen.append(index);
    for (int index = middle + 1; index < numberOfItems_ && isSeen(index); ++index)
        seen.append(index);
    std::sort(seen.begin(), seen.end(),
              [&](int a, int b) { return std::abs(a - position_) > std::abs(b - position_); });
    return seen;
}

int IKImageFlowView::indexAt(const QPointF &point) const {
    const QList<int> seen = seenIndexes();
    const auto found = std::find_if(seen.crbegin(), seen.crend(), [&](int index) {
        return corners(index - position_).containsPoint(point, Qt::OddEvenFill);
    });
    return found == seen.crend() ? -1 : *found;
}

QSize IKImageFlowView::coverPixels() const {
    const int side = qMin(qCeil(kMiddleSide * devicePixelRatioF()), CoverKey::kLargestSide);
    return {side, side};
}

void IKImageFlowView::askForCovers(const QList<int> &seen) {
    QList<CoverKey> keys;
    for (auto index = seen.crbegin(); index != seen.crend(); ++index)
        if (const SongPtr song = songAt(*index))
            keys.append({.path = song->imagePath(), .version = song->version(), .pixels = coverPixels()});
    CoverCache::shared().want(this, keys);
}

void IKImageFlowView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), bandColour());
    painter.setRenderHint(QPainter::Antialiasing);
    // On a fine screen a moving cover needs no smoothing, and all of it would cost more than a frame's time.
    const bool isMoving = position_ != selectedIndex_;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !isMoving || devicePixelRatioF() < kFineScreen);
    if (numberOfItems_ == 0) {
        drawEmptyFrame(painter);
        return;
    }
    const QList<int> seen = seenIndexes();
    askForCovers(seen);
    for (const int index : seen)
        drawCover(painter, index);
    drawTitle(painter);
}

// A cover that has not come yet is an empty card.
void IKImageFlowView::drawCover(QPainter &painter, int index) {
    const SongPtr song = songAt(index);
    if (!song)
        return;
    const QPolygonF place = corners(index - position_);
    const QImage cover =
        CoverCache::shared().cover({.path = song->imagePath(), .version = song->version(), .pixels = coverPixels()});
    const QPolygonF square = QPolygonF(QRectF(QPointF(), QSizeF(coverPixels()))).mid(0, 4);
    QTransform perspective;
    if (!cover.isNull() && QTransform::quadToQuad(square, place, perspective)) {
        painter.save();
        painter.setTransform(perspective, /*combine=*/true);
        painter.drawImage(QPointF(), cover);
        painter.restore();
    }
    painter.setBrush(cover.isNull() ? mixed(bandColour(), bandTextColour(), 0.12F) : QBrush(Qt::NoBrush));
    painter.setPen(QPen(bandTextColour(), 1));
    painter.drawPolygon(place);
    if (isFocusShown_ && index == selectedIndex_) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 2));
        painter.drawPath(sketchedRect(place.boundingRect().adjusted(-4, -4, 4, 4), 4));
    }
}

void IKImageFlowView::drawEmptyFrame(QPainter &painter) const {
    painter.setPen(sketchPen(mixed(bandColour(), bandTextColour(), 0.3F)));
    painter.drawPath(sketchedRect(cornersAtPlace(0).boundingRect(), 6));
    if (isFocusShown_) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 2));
        painter.drawPath(sketchedRect(cornersAtPlace(0).boundingRect().adjusted(-5, -5, 5, 5), 8));
    }
}

void IKImageFlowView::drawTitle(QPainter &painter) {
    const SongPtr song = songAt(selectedIndex_);
    if (!song)
        return;
    // Each part keeps its own direction of writing.
    QStringList parts;
    for (const QString &part : {oneLine(song->title()), oneLine(song->artist())})
        if (!part.isEmpty())
            parts.append(QChar(0x2068) + part + QChar(0x2069));
    const QFont font = lookFont(kSecondLinePixels, QFont::Medium);
    const QRectF line(kTitleMargin, kMiddleTop + kMiddleSide + kTitleGap, width() - 2 * kTitleMargin, kTitleHeight);
    painter.setFont(font);
    painter.setPen(bandTextColour());
    painter.drawText(line, Qt::AlignCenter | Qt::TextSingleLine,
                     QFontMetricsF(font).elidedText(parts.join(QStringLiteral(" · ")), Qt::ElideRight, line.width()));
}

void IKImageFlowView::hideEvent(QHideEvent *event) {
    stopGliding();
    CoverCache::shared().want(this, {});
    QWidget::hideEvent(event);
}

void IKImageFlowView::keyPressEvent(QKeyEvent *event) {
    constexpr int kPage = 5;
    switch (event->key()) {
    case Qt::Key_Left:
        setSelectedIndex(selectedIndex_ - 1);
        break;
    case Qt::Key_Right:
        setSelectedIndex(selectedIndex_ + 1);
        break;
    case Qt::Key_PageUp:
        setSelectedIndex(selectedIndex_ - kPage);
        break;
    case Qt::Key_PageDown:
        setSelectedIndex(selectedIndex_ + kPage);
        break;
    case Qt::Key_Home:
        setSelectedIndex(0);
        break;
    case Qt::Key_End:
        setSelectedIndex(numberOfItems_ - 1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (delegate_ && selectedIndex_ >= 0 && !event->isAutoRepeat())
            delegate_->cellWasDoubleClickedAtIndex(*this, selectedIndex_);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

// A touchpad sends many small turns: they are saved up until they make a notch.
void IKImageFlowView::wheelEvent(QWheelEvent *event) {
    const QPoint turn = event->angleDelta();
    wheelRest_ += std::abs(turn.x()) > std::abs(turn.y()) ? turn.x() : turn.y();
    const int steps = wheelRest_ / kWheelStep;
    wheelRest_ -= steps * kWheelStep;
    if (steps != 0)
        setSelectedIndex(selectedIndex_ - steps);
    event->accept();
}

void IKImageFlowView::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton || numberOfItems_ == 0)
        return;
    isFocusShown_ = false;
    isPressed_ = true;
    isDragging_ = false;
    pressedIndex_ = indexAt(event->position());
    pressedPoint_ = event->position();
    animation_.stop();
    pressedPosition_ = position_;
    update();
}

void IKImageFlowView::mouseMoveEvent(QMouseEvent *event) {
    if (!isPressed_)
        return;
    const qreal way = pressedPoint_.x() - event->position().x();
    if (!isDragging_ && std::abs(way) < QApplication::startDragDistance())
        return;
    isDragging_ = true;
    const qreal last = numberOfItems_ - 1;
    position_ = std::clamp(pressedPosition_ + way / kDragPlace, 0.0, last);
    update();
    select(qRound(position_));
}

void IKImageFlowView::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton || !isPressed_)
        return;
    isPressed_ = false;
    const bool wasClick = !isDragging_;
    isDragging_ = false;
    if (wasClick && pressedIndex_ >= 0)
        select(pressedIndex_);
    glide();
}

// The first click of the two has already set the covers moving: what it hit counts, not what lies there now.
void IKImageFlowView::mouseDoubleClickEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton && delegate_ && pressedIndex_ >= 0 && pressedIndex_ == selectedIndex_)
        delegate_->cellWasDoubleClickedAtIndex(*this, std::exchange(pressedIndex_, -1));
}

void IKImageFlowView::focusInEvent(QFocusEvent *event) {
    // A window that becomes active again gives back the focus as it was.
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        isFocusShown_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
                        event->reason() == Qt::ShortcutFocusReason;
    update();
    QWidget::focusInEvent(event);
}

void IKImageFlowView::focusOutEvent(QFocusEvent *event) {
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        isFocusShown_ = false;
    update();
    QWidget::focusOutEvent(event);
}
