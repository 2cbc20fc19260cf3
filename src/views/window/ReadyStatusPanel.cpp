#include "views/window/ReadyStatusPanel.h"

#include "views/controls/Look.h"

#include <QPainter>

ReadyStatusPanel::ReadyStatusPanel(QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    timer_.setInterval(700);
    connect(&timer_, &QTimer::timeout, this, [this] {
        isPale_ = !isPale_;
        update();
    });
    connect(&Look::shared(), &Look::changed, this, [this] { updateBlinking(isVisible()); });
}

void ReadyStatusPanel::setShakeEffect(bool isShaking) {
    if (isShaking == isShaking_)
        return;
    isShaking_ = isShaking;
    updateBlinking(isVisible());
}

void ReadyStatusPanel::updateBlinking(bool isShown) {
    const bool isBlinkingNow = isShaking_ && isShown && !Look::shared().isMotionReduced();
    if (isBlinkingNow == timer_.isActive())
        return;
    isPale_ = false;
    if (isBlinkingNow)
        timer_.start();
    else
        timer_.stop();
    update();
}

void ReadyStatusPanel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QFont font = lookFont(kClockPixels, QFont::Medium);
    painter.setFont(font);
    painter.setPen(lookColour(isPale_ ? LookColour::Soft : LookColour::Ink));
    const QFontMetricsF metrics(font);
    qreal digitWidth = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        digitWidth = qMax(digitWidth, metrics.horizontalAdvance(QChar(digit)));
    const qreal baseline = (height() + metrics.capHeight()) / 2;
    qreal x = 0;
    const QString shown = text();
    for (const QChar character : shown) {
        const qreal width = metrics.horizontalAdvance(character);
        const qreal cell = character.isDigit() ? digitWidth : width;
        painter.drawText(QPointF(x + (cell - width) / 2, baseline), character);
        x += cell;
    }
}

// A minimised window sends these two as well.
void ReadyStatusPanel::showEvent(QShowEvent *event) {
    updateBlinking(/*isShown=*/true);
    QLabel::showEvent(event);
}

void ReadyStatusPanel::hideEvent(QHideEvent *event) {
    updateBlinking(/*isShown=*/false);
    QLabel::hideEvent(event);
}
