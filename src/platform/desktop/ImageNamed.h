// The program's pictures by name, sharp at every scale and in the colours of the appearance shown.
//
// Threads: main.
#pragma once

#include <QColor>
#include <QList>
#include <QPixmap>
#include <QSize>
#include <QString>

/// A colour as the SVG files write it, and the one that is shown in its place.
struct ImageColour {
    QRgb drawn;
    QRgb shown;
};

/// Sets the colours of every SVG that is rendered from now on; pictures already handed out stay as they are.
void setImageColours(const QList<ImageColour> &colours);

/// Whether there is a picture called `name`.
bool isImageNamed(const QString &name);

/// The picture called `name`, `size` large in logical pixels; an empty `size` stands for its own.
/// The name may carry the ending ".png" or ".svg" or none: an asked-for file that is missing is looked for under the
/// other ending. Null if there is no such picture.
QPixmap imageNamed(const QString &name, const QSize &size = {}, qreal devicePixelRatio = 1);
