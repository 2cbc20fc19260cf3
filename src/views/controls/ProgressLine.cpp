#include "views/controls/ProgressLine.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

ProgressLine::ProgressLine(QWidget *parent) : QProgressBar(parent) { setFixedHeight(8); }

void ProgressLine::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal y = height() / 2.0;
    const qreal end = width() - 3.0;
    painter.setPen(sketchPen(lookColour(LookColour::Line), 3));
    painter.drawLine(QPointF(3, y), QPointF(end, y));
    if (value() <= minimum())
        return;
    painter.setPen(sketchPen(lookColour(LookColour::Teal), 3));
    painter.drawLine(QPointF(3, y), QPointF(3 + (end - 3) * value() / qMax(1, maximum()), y));
}
