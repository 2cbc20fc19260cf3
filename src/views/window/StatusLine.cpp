#include "views/window/StatusLine.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

namespace {

constexpr int kMargin = 16;
constexpr qsizetype kLongest = 1000; // characters: more than the widest window shows

} // namespace

StatusLine::StatusLine(QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setFixedHeight(kHeight);
    // The text may be longer than the window is wide.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void StatusLine::setEnds(int left, int right) {
    leftEnd_ = left;
    rightEnd_ = right;
    update();
}

void StatusLine::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), lookColour(LookColour::Paper2));
    painter.setPen(sketchPen(lookColour(LookColour::Line), 1));
    painter.drawLine(QPointF(0, 0.5), QPointF(width(), 0.5));
    painter.setLayoutDirection(layoutDirection());
    const QFont font = lookFont(kSecondLinePixels);
    painter.setFont(font);
    painter.setPen(lookColour(LookColour::Soft));
    const QRect area = rect().adjusted(leftEnd_ + kMargin, 1, -rightEnd_ - kMargin, 0);
    const QString shown = QFontMetrics(font).elidedText(text().left(kLongest), Qt::ElideRight, area.width());
    const int textWidth = QFontMetrics(font).horizontalAdvance(shown);
    // In the middle of the bar, or as near to it as the buttons let it.
    const int left = qMax(area.left(), qMin((width() - textWidth) / 2, area.right() + 1 - textWidth));
    painter.drawText(QRect(left, area.top(), textWidth + 1, area.height()), Qt::AlignVCenter | Qt::AlignLeft, shown);
}
