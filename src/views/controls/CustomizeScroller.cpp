#include "views/controls/CustomizeScroller.h"

#include "views/controls/Look.h"

#include <QApplication>
#include <QPainter>
#include <QPointer>
#include <QProxyStyle>
#include <QStyleOptionSlider>

namespace {

constexpr int kShortestKnob = 40;

// Where the parts of the scroll bar lie, so that the mouse meets what is drawn.
class ScrollerStyle : public QProxyStyle {
public:
    static ScrollerStyle *shared() {
        static QPointer<ScrollerStyle> style;
        if (!style) {
            style = new ScrollerStyle;
            style->setParent(qApp);
        }
        return style;
    }

    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override {
        if (metric == PM_ScrollBarExtent)
            return CustomizeScroller::kThickness;
        return metric == PM_ScrollBarSliderMin ? kShortestKnob : QProxyStyle::pixelMetric(metric, option, widget);
    }

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returnData) const override {
        return hint == SH_ScrollBar_Transient ? 0 : QProxyStyle::styleHint(hint, option, widget, returnData);
    }

    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override {
        const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
        if (control != CC_ScrollBar || !bar)
            return QProxyStyle::subControlRect(control, option, part, widget);
        return visualRect(bar->direction, bar->rect, partRect(*bar, part));
    }

private:
    static QRect partRect(const QStyleOptionSlider &bar, SubControl part) {
        const bool isHorizontal = bar.orientation == Qt::Horizontal;
        const int length = isHorizontal ? bar.rect.width() : bar.rect.height();
        const qint64 range = static_cast<qint64>(bar.maximum) - bar.minimum;
        const int knob =
            range <= 0
                ? length
                : static_cast<int>(qMax<qint64>(length * static_cast<qint64>(bar.pageStep) / (range + bar.pageStep),
                                                qMin(kShortestKnob, length)));
        const int start =
            sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, length - knob, bar.upsideDown);
        const auto along = [&](int from, int size) {
            return isHorizontal ? QRect(bar.rect.left() + from, bar.rect.top(), size, bar.rect.height())
                                : QRect(bar.rect.left(), bar.rect.top() + from, bar.rect.width(), size);
        };
        switch (part) {
        case SC_ScrollBarSlider:
            return along(start, knob);
        case SC_ScrollBarSubPage:
            return along(0, start);
        case SC_ScrollBarAddPage:
            return along(start + knob, length - start - knob);
        case SC_ScrollBarGroove:
            return bar.rect;
        default:
            return {};
        }
    }
};

} // namespace

CustomizeScroller::CustomizeScroller(Qt::Orientation orientation, QWidget *parent) : QScrollBar(orientation, parent) {
    setStyle(ScrollerStyle::shared());
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void CustomizeScroller::paintEvent(QPaintEvent *) {
    if (minimum() == maximum())
        return;
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRectF knob = style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(lookColour(isSliderDown() || underMouse() ? LookColour::Soft : LookColour::Line));
    const qreal radius = (kThickness - 2) / 2.0;
    painter.drawRoundedRect(knob.adjusted(1, 1, -1, -1), radius, radius);
}
