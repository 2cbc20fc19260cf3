#include "views/controls/ImageSlider.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <QWheelEvent>
#include <optional>

namespace {

// The pointer is heeded a little beyond the right edge.
constexpr double kRightLimit = 1.01;
constexpr double kPageSteps = 5;
constexpr qreal kPaleOpacity = 0.4; // what cannot be moved

class ImageSliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit ImageSliderAccessible(ImageSlider *slider) : QAccessibleWidget(slider, QAccessible::Slider) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface *>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text text) const override {
        return text == QAccessible::Value ? QStringLiteral("%1 %").arg(percent()) : QAccessibleWidget::text(text);
    }

    QVariant currentValue() const override { return percent(); }
    void setCurrentValue(const QVariant &value) override { slider().stepTo(value.toDouble() / 100); }
    QVariant maximumValue() const override { return 100; }
    QVariant minimumValue() const override { return 0; }
    QVariant minimumStepSize() const override { return slider().step() * 100; }

private:
    ImageSlider &slider() const { return *static_cast<ImageSlider *>(widget()); }
    int percent() const { return qRound(slider().fraction() * 100); }
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *slider = qobject_cast<ImageSlider *>(object);
    return slider ? new ImageSliderAccessible(slider) : nullptr;
}

std::optional<double> keyedFraction(int key, double fraction, double step) {
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        return fraction - step;
    case Qt::Key_Right:
    case Qt::Key_Up:
        return fraction + step;
    case Qt::Key_PageDown:
        return fraction - kPageSteps * step;
    case Qt::Key_PageUp:
        return fraction + kPageSteps * step;
    case Qt::Key_Home:
        return 0;
    case Qt::Key_End:
        return 1;
    default:
        return {};
    }
}

} // namespace

ImageSlider::ImageSlider(const QString &title, QWidget *parent) : QWidget(parent) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(title);
}

void ImageSlider::stepTo(double fraction) {
    if (isHeeded())
        moveByHand(qBound(0.0, fraction, 1.0), Hand::Step);
}

void ImageSlider::fractionChanged() {
    const int knob = qRound(knobPlace().left() * devicePixelRatioF());
    if (std::exchange(shownKnob_, knob) != knob)
        update();
    const int percent = qRound(fraction() * 100);
    if (!QAccessible::isActive() || std::exchange(toldPercent_, percent) == percent)
        return;
    QAccessibleValueChangeEvent event(this, percent);
    QAccessible::updateAccessibility(&event);
}

// The knob never leaves the bounds, so at the ends it stands beside the point that it tells.
QRectF ImageSlider::knobPlace() const {
    const QSizeF size = imageNamed(knobImage()).deviceIndependentSize();
    return {QPointF(fraction() * (width() - size.width()), (height() - size.height()) / 2), size};
}

void ImageSlider::drawTrack(QPainter &painter, const QString &name) const {
    const int thickness = imageNamed(name).height();
    painter.drawPixmap(0, (height() - thickness) / 2, imageNamed(name, {width(), thickness}, devicePixelRatioF()));
}

void ImageSlider::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (keyboardFocus_.isShown()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal)));
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8));
    }
    if (!isEnabled())
        painter.setOpacity(kPaleOpacity);
    drawTrack(painter, backImg_);
    painter.save();
    painter.setClipRect(QRectF(0, 0, fraction() * width(), height()));
    drawTrack(painter, img_);
    painter.restore();
    const QRectF knob = knobPlace();
    painter.drawPixmap(knob.topLeft(), imageNamed(knobImage(), knob.size().toSize(), devicePixelRatioF()));
}

void ImageSlider::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton || !isHeeded()) {
        event->ignore();
        return;
    }
    keyboardFocus_.mousePressed();
    update();
    const double fraction = event->position().x() / width();
    if (fraction >= 0 && fraction <= kRightLimit)
        moveByHand(fraction, Hand::Press);
}

void ImageSlider::mouseMoveEvent(QMouseEvent *event) {
    if (!(event->buttons() & Qt::LeftButton) || !isHeeded())
        return;
    const double fraction = event->position().x() / width();
    if (fraction >= 0)
        moveByHand(fraction >= kRightLimit ? 1 : fraction, Hand::Drag);
}

void ImageSlider::keyPressEvent(QKeyEvent *event) {
    const std::optional<double> keyed = keyedFraction(event->key(), fraction(), step());
    if (keyed && isHeeded())
        stepTo(*keyed);
    else
        QWidget::keyPressEvent(event);
}

void ImageSlider::wheelEvent(QWheelEvent *event) {
    constexpr double kNotch = 120; // eighths of a degree
    if (!isHeeded()) {
        event->ignore();
        return;
    }
    const int turn = event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    stepTo(fraction() + (event->inverted() ? -turn : turn) / kNotch * step());
}

void ImageSlider::focusInEvent(QFocusEvent *event) {
    keyboardFocus_.focusIn(*event);
    QWidget::focusInEvent(event);
}

void ImageSlider::focusOutEvent(QFocusEvent *event) {
    keyboardFocus_.focusOut(*event);
    QWidget::focusOutEvent(event);
}
