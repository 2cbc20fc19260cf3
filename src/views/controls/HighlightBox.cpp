#include "views/controls/HighlightBox.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QEvent>
#include <QLineEdit>
#include <QPainter>

namespace {

constexpr qreal kRadius = 7;
constexpr qreal kQuietStroke = 1.1;
constexpr int kGap = 5; // between the name's end and the band's

} // namespace

HighlightBox::HighlightBox(const QString &title, QLineEdit *field, QWidget *parent)
    : QWidget(parent), title_(title), field_(field) {
    field_->setParent(this);
    field_->setFrame(false);
    field_->setFont(lookFont(kListPixels));
    field_->setAccessibleName(title);
    field_->installEventFilter(this);
    setFont(lookFont(kSecondLinePixels));
}

void HighlightBox::setIsEditable(bool isEditable) {
    isEditable_ = isEditable;
    update();
}

void HighlightBox::setMouseIn(bool isMouseIn) {
    isMouseIn_ = isMouseIn;
    update();
}

void HighlightBox::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath frame = sketchedRect(QRectF(rect()).adjusted(1, 1, -1, -1), kRadius);
    const bool isHovered = isMouseIn_ && isEditable_;
    painter.fillPath(frame, lookColour(isEditable_ ? LookColour::Sheet : LookColour::Paper2));
    if (isHovered) {
        painter.setClipPath(frame);
        painter.fillRect(0, 0, kBandWidth, height(), lookColour(LookColour::Paper));
        painter.setClipping(false);
    }
    const bool isFocused = field_->hasFocus();
    painter.setPen(sketchPen(lookColour(isFocused   ? LookColour::Teal
                                        : isHovered ? LookColour::Soft
                                                    : LookColour::Line),
                             isFocused || isHovered ? kStrokeWidth : kQuietStroke));
    painter.drawPath(frame);
    painter.setPen(lookColour(LookColour::Soft));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(QRect(kGap, 0, kBandWidth - 2 * kGap, height()), Qt::AlignVCenter | Qt::AlignRight,
                     fontMetrics().elidedText(title_, Qt::ElideRight, kBandWidth - 2 * kGap));
}

void HighlightBox::resizeEvent(QResizeEvent *event) {
    field_->setGeometry(kBandWidth, 2, width() - kBandWidth - kGap, height() - 4);
    QWidget::resizeEvent(event);
}

void HighlightBox::enterEvent(QEnterEvent *event) {
    setMouseIn(/*isMouseIn=*/true);
    QWidget::enterEvent(event);
}

void HighlightBox::leaveEvent(QEvent *event) {
    setMouseIn(/*isMouseIn=*/false);
    QWidget::leaveEvent(event);
}

// The name is part of the field.
void HighlightBox::mousePressEvent(QMouseEvent *) {
    if (isEditable_)
        field_->setFocus(Qt::MouseFocusReason);
}

bool HighlightBox::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        update();
    return QWidget::eventFilter(watched, event);
}
