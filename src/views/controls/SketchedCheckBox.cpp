#include "views/controls/SketchedCheckBox.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QPainter>

namespace {
constexpr int kTextLeft = kCheckBoxSize + 9;
constexpr int kMargin = 3; // for the line that tells where the keyboard is
} // namespace

void paintCheckBox(QPainter &painter, const QPointF &place, bool isChecked, bool isEnabled) {
    painter.setPen(sketchPen(lookColour(isEnabled ? LookColour::Ink : LookColour::Line), 1.4));
    painter.setBrush(lookColour(LookColour::Sheet));
    painter.drawPath(sketchedRect(QRectF(place, QSizeF(kCheckBoxSize, kCheckBoxSize)), 3));
    if (!isChecked)
        return;
    painter.setPen(sketchPen(lookColour(isEnabled ? LookColour::Teal : LookColour::Line), 2.2));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(QPolygonF{place + QPointF(3.4, 8.2), place + QPointF(6.9, 12.2), place + QPointF(13.4, 2.8)});
}

SketchedCheckBox::SketchedCheckBox(const QString &title, QWidget *parent) : QCheckBox(title, parent) {
    setFont(lookFont(kListPixels));
}

QSize SketchedCheckBox::sizeHint() const {
    return {2 * kMargin + kTextLeft + fontMetrics().horizontalAdvance(text()) + 4, kCheckBoxSize + 2 * kMargin + 2};
}

void SketchedCheckBox::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasFocus()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(0.7, 0.7, -0.7, -0.7), 6));
    }
    paintCheckBox(painter, QPointF(kMargin, (height() - kCheckBoxSize) / 2.0), isChecked(), isEnabled());
    painter.setPen(lookColour(isEnabled() ? LookColour::Ink : LookColour::Line));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(rect().adjusted(kMargin + kTextLeft, 0, 0, 0),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, text());
}
