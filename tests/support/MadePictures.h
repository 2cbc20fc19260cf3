// Pictures of one colour.
#pragma once

#include "support/MadeAudio.h"

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QSet>
#include <gtest/gtest.h>

inline QImage pictureOf(const QColor &colour, const QSize &size = {8, 8}) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// In a file of the home, of the kind that the name's ending says; its path.
inline QString makePicture(const QString &name, const QColor &colour = Qt::red, const QSize &size = {20, 10}) {
    EXPECT_TRUE(pictureOf(colour, size).save(inHome(name)));
    return inHome(name);
}

inline std::string encoded(const QImage &image, const char *format = "png") {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    EXPECT_TRUE(image.save(&buffer, format));
    return bytes.toStdString();
}

/// Without those that let something shine through.
inline QSet<QRgb> opaqueColours(const QPixmap &pixmap) {
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) == 255)
                colours.insert(image.pixel(x, y));
    return colours;
}
