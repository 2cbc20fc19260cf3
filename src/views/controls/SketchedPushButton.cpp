#include "views/controls/SketchedPushButton.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

SketchedPushButton::SketchedPushButton(const QString &title, bool isDefault, QWidget *parent)
    : QPushButton(title, parent) {
    setDefault(isDefault);
    setFont(lookFont(kListPixels, isDefault ? QFont::DemiBold : QFont::Normal));
    setAttribute(Qt::WA_Hover);
}

QSize SketchedPushButton::sizeHint() const { return {qMax(84, fontMetrics().horizontalAdvance(text()) + 36), 34}; }

void SketchedPushButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(4, 4, -4, -4);
    const LookColour line = isDefault() ? LookColour::Teal : LookColour::Ink;
    const bool isHovered = underMouse() && isEnabled();
    painter.setPen(sketchPen(lookColour(isEnabled() ? line : LookColour::Line), isHovered ? 2 : 1.4));
    painter.setBrush(lookColour(isDown() ? LookColour::Paper2 : LookColour::Sheet));
    painter.drawPath(sketchedRect(frame, 8));
    if (hasFocus()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(0.7, 0.7, -0.7, -0.7), 10));
    }
    painter.setPen(lookColour(isEnabled() ? LookColour::Ink : LookColour::Line));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
}
