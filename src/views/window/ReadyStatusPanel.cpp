#include "views/window/ReadyStatusPanel.h"

#include "views/controls/Look.h"

#include <QPainter>
#include <utility>

namespace {

constexpr int kBlinkMilliseconds = 500;
// A blank and a colon are half as wide as a digit: the second text stands behind the colon of the first.
const QString kStandingCaption = QStringLiteral("00:  ");
const QString kBlinkingCaption = QStringLiteral("     00");

} // namespace

ReadyStatusPanel::ReadyStatusPanel(QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    timer_.setInterval(kBlinkMilliseconds);
    connect(&timer_, &QTimer::timeout, this, &ReadyStatusPanel::readyCaptionShake);
    connect(&sight_, &SightWatch::changed, this, &ReadyStatusPanel::updateBlinking);
}

void ReadyStatusPanel::setShakeEffect(bool isShaking) {
    if (std::exchange(isShaking_, isShaking) == isShaking)
        return;
    update();
    updateBlinking();
}

void ReadyStatusPanel::readyCaptionShake() {
    isOut_ = !isOut_;
    update();
}

void ReadyStatusPanel::updateBlinking() {
    const bool isBlinkingNow = isShaking_ && sight_.mayMove();
    if (isBlinkingNow == timer_.isActive())
        return;
    isOut_ = false;
    if (isBlinkingNow)
        timer_.start();
    else
        timer_.stop();
    update();
}

void ReadyStatusPanel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setFont(lookFont(kClockPixels, QFont::Medium));
    painter.setPen(lookColour(LookColour::Ink));
    if (!isShaking_) {
        drawClock(painter, text());
        return;
    }
    drawClock(painter, kStandingCaption);
    if (!isOut_)
        drawClock(painter, kBlinkingCaption);
}

void ReadyStatusPanel::drawClock(QPainter &painter, const QString &text) const {
    const QFontMetricsF metrics(painter.font());
    qreal digitWidth = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        digitWidth = qMax(digitWidth, metrics.horizontalAdvance(QChar(digit)));
    const qreal baseline = (height() + metrics.capHeight()) / 2;
    qreal x = 0;
    for (const QChar character : text) {
        const qreal cell = character.isDigit() ? digitWidth : digitWidth / 2;
        painter.drawText(QPointF(x + (cell - metrics.horizontalAdvance(character)) / 2, baseline), character);
        x += cell;
    }
}
