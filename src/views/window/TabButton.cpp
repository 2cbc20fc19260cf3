#include "views/window/TabButton.h"

#include "views/controls/Look.h"

#include <QPainter>

namespace {

constexpr QSize kSize(54, 50);
constexpr int kWordPixels = 9;
constexpr int kWordTop = 31;
constexpr int kWordHeight = 14;

} // namespace

TabButton::TabButton(const QString &title, QWidget *parent) : SketchButton({}, kSize, title, parent) {
    setText(title);
    setFrameRadius(10);
    setCheckable(true);
}

void TabButton::paintEvent(QPaintEvent *event) {
    SketchButton::paintEvent(event);
    QPainter painter(this);
    QFont font = lookFont(kWordPixels, isChecked() ? QFont::DemiBold : QFont::Normal);
    const QRect place(kFocusMargin + 4, kFocusMargin + kWordTop, kSize.width() - 8, kWordHeight);
    // Words of a broad desktop font are drawn lighter or smaller rather than cut.
    const auto isTooWide = [&] { return QFontMetrics(font).horizontalAdvance(text()) > place.width(); };
    if (isTooWide())
        font.setWeight(QFont::Normal);
    if (isTooWide())
        font.setPixelSize(kWordPixels - 1);
    painter.setFont(font);
    painter.setPen(lookColour(isChecked()                ? LookColour::Teal
                              : isDown() || underMouse() ? LookColour::Ink
                                                         : LookColour::Soft));
    painter.drawText(place, Qt::AlignCenter, QFontMetrics(font).elidedText(text(), Qt::ElideRight, place.width() + 2));
}
