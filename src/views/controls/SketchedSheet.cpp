#include "views/controls/SketchedSheet.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

void SketchedSheet::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(sketchPen(lookColour(LookColour::Line), 1.4));
    painter.setBrush(lookColour(LookColour::Sheet));
    painter.drawPath(sketchedRect(QRectF(rect()).adjusted(margin_, margin_, -margin_, -margin_), radius_));
}
