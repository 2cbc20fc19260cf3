#include "views/controls/Sketch.h"

#include <QCache>
#include <QPen>
#include <QtMath>
#include <utility>

namespace {

QPainterPath drawn(const QRectF &rect, qreal radius) {
    constexpr qreal kWaver = 0.55; // pixels
    constexpr qreal kStep = 11;    // pixels between two points: short enough to follow the corners
    QPainterPath straight;
    straight.addRoundedRect(rect.adjusted(kWaver, kWaver, -kWaver, -kWaver), radius, radius);
    const qreal length = straight.length();
    const int count = qMax(16, qRound(length / kStep));
    // A long wave and a short one, each a whole number of times around, so that the line closes without a nick. The
    // size shifts them: neighbours do not look stamped.
    const qreal slow = 2 * M_PI * qMax(2, qRound(length / 110)) / count;
    const qreal quick = 2 * M_PI * qMax(3, qRound(length / 48)) / count;
    const qreal shift = rect.width() * 0.7 + rect.height() * 1.3;
    const auto point = [&](int i) {
        const qreal x = qSin(slow * i + shift) + 0.6 * qSin(quick * i + shift * 2);
        const qreal y = qSin(slow * i + shift + 2) + 0.6 * qSin(quick * i + shift);
        return straight.pointAtPercent(static_cast<qreal>(i % count) / count) + QPointF(x, y) * (kWaver / 1.6);
    };
    QPainterPath path;
    path.moveTo((point(0) + point(1)) / 2);
    for (int i = 1; i <= count; ++i) {
        const QPointF control = point(i);
        path.quadTo(control, (control + point(i + 1)) / 2);
    }
    path.closeSubpath();
    return path;
}

} // namespace

QPainterPath sketchedRect(const QRectF &rect, qreal radius) {
    // To find the points along the outline costs more than to draw them, and what is repainted mostly has the size that
    // it had.
    static QCache<std::pair<std::pair<qreal, qreal>, qreal>, QPainterPath> known(/*maxCost=*/128);
    const std::pair key(std::pair(rect.width(), rect.height()), radius);
    QPainterPath *path = known.object(key);
    if (!path) {
        path = new QPainterPath(drawn(QRectF(QPointF(), rect.size()), radius));
        known.insert(key, path);
    }
    return path->translated(rect.topLeft());
}

QPen sketchPen(const QColor &colour, qreal width) {
    return QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}
