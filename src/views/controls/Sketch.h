// Lines as a steady hand draws them.
//
// Threads: main.
#pragma once

#include <QPainterPath>

inline constexpr qreal kStrokeWidth = 1.6;

/// A closed round-cornered line inside `rect` that wavers by about half a pixel, the same way each time it is asked
/// for. A `radius` of half the height gives an oval.
QPainterPath sketchedRect(const QRectF &rect, qreal radius);

/// A pen for such lines.
QPen sketchPen(const QColor &colour, qreal width = kStrokeWidth);
