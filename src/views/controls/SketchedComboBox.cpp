#include "views/controls/SketchedComboBox.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyledItemDelegate>

namespace {
constexpr int kSideMargin = 12;
constexpr int kArrowRoom = 26;
} // namespace

SketchedComboBox::SketchedComboBox(QWidget *parent) : QComboBox(parent) {
    setFont(lookFont(kListPixels));
    setAttribute(Qt::WA_Hover);
    setItemDelegate(new QStyledItemDelegate(this)); // the style's own draws as a menu of the desktop does
}

QSize SketchedComboBox::sizeHint() const {
    int widest = 0;
    for (int i = 0; i < count(); ++i)
        widest = qMax(widest, fontMetrics().horizontalAdvance(itemText(i)));
    return {kSideMargin + widest + kArrowRoom, 30};
}

// The list is a window of its own, which would take the desktop's colours.
void SketchedComboBox::showPopup() {
    QComboBox::showPopup();
    view()->window()->setPalette(palette());
    view()->setPalette(palette());
}

void SketchedComboBox::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const LookColour strong = isEnabled() ? LookColour::Ink : LookColour::Line;
    painter.setPen(sketchPen(lookColour(strong), underMouse() && isEnabled() ? 2 : 1.4));
    painter.setBrush(lookColour(LookColour::Sheet));
    painter.drawPath(sketchedRect(QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5), 8));
    if (hasFocus()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(0.7, 0.7, -0.7, -0.7), 10));
    }
    painter.setPen(lookColour(strong));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(rect().adjusted(kSideMargin, 0, -kArrowRoom, 0), Qt::AlignLeft | Qt::AlignVCenter, currentText());
    painter.setPen(sketchPen(lookColour(isEnabled() ? LookColour::Soft : LookColour::Line)));
    const QPointF tip(width() - 15.5, height() / 2.0 + 2.5);
    painter.drawPolyline(QPolygonF{tip + QPointF(-4.5, -5), tip, tip + QPointF(4.5, -5)});
}
