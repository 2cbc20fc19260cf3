#include "views/window/StatusLine.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

StatusLine::StatusLine(QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setFixedHeight(kHeight);
    // The text may be longer than the window is wide.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void StatusLine::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), lookColour(LookColour::Paper2));
    painter.setPen(sketchPen(lookColour(LookColour::Line), 1));
    painter.drawLine(QPointF(0, 0.5), QPointF(width(), 0.5));
    const QFont font = lookFont(kSecondLinePixels);
    painter.setFont(font);
    painter.setPen(lookColour(LookColour::Soft));
    const QRect area = rect().adjusted(16, 1, -16, 0);
    painter.drawText(area, Qt::AlignCenter, QFontMetrics(font).elidedText(text(), Qt::ElideRight, area.width()));
}
