#include "views/controls/TextButton.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

constexpr int kSideMargin = 6;
constexpr int kHeight = 20;
constexpr int kSignGap = 5;
constexpr QSize kSignSize(8, 8);
constexpr qreal kPaleOpacity = 0.4; // of a disabled sign

} // namespace

TextButton::TextButton(const QString &text, QWidget *parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::TabFocus);
    setFont(lookFont(kSecondLinePixels));
    setAccessibleName(text);
    setText(text);
}

void TextButton::setImages(const QString &image, const QString &alternateImage) {
    image_ = image;
    alternateImage_ = alternateImage;
    updateGeometry();
    update();
}

QSize TextButton::sizeHint() const {
    const int sign = image_.isEmpty() ? 0 : kSignGap + kSignSize.width();
    return {2 * kSideMargin + QFontMetrics(font()).horizontalAdvance(text()) + sign, kHeight};
}

void TextButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outline = QRectF(rect()).adjusted(1, 1, -1, -1);
    if (isEnabled() && (isDown() || underMouse())) {
        painter.setPen(sketchPen(lookColour(isDown() ? LookColour::Ink : LookColour::Line), 1.2));
        painter.setBrush(lookColour(isDown() ? LookColour::Paper : LookColour::Sheet));
        painter.drawPath(sketchedRect(outline, 6));
    }
    painter.setPen(lookColour(isEnabled() ? LookColour::Ink : LookColour::Line));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(rect().adjusted(kSideMargin, 0, -kSideMargin, 0), Qt::AlignVCenter | Qt::AlignLeft, text());
    if (!image_.isEmpty()) {
        painter.setOpacity(isEnabled() ? 1 : kPaleOpacity);
        painter.drawPixmap(width() - kSideMargin - kSignSize.width(), (height() - kSignSize.height()) / 2 + 1,
                           imageNamed(shownImage(), kSignSize, devicePixelRatioF()));
        painter.setOpacity(1);
    }
    if (keyboardFocus_.isShown()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal)));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(outline, 6));
    }
}

void TextButton::keyPressEvent(QKeyEvent *event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}

void TextButton::focusInEvent(QFocusEvent *event) {
    keyboardFocus_.focusIn(*event);
    QAbstractButton::focusInEvent(event);
}

void TextButton::focusOutEvent(QFocusEvent *event) {
    keyboardFocus_.focusOut(*event);
    QAbstractButton::focusOutEvent(event);
}

void TextButton::mousePressEvent(QMouseEvent *event) {
    keyboardFocus_.mousePressed();
    QAbstractButton::mousePressEvent(event);
}

void TextButton::enterEvent(QEnterEvent *event) {
    update();
    QAbstractButton::enterEvent(event);
}

void TextButton::leaveEvent(QEvent *event) {
    update();
    QAbstractButton::leaveEvent(event);
}
