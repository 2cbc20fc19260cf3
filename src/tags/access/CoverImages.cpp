#include "tags/access/CoverImages.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

void CoverCollector::add(const char *bytes, qsizetype size) {
    QByteArray data = QByteArray::fromRawData(bytes, size);
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    static const QList<QByteArray> formats = {"jpeg", "jpg", "png", "gif", "bmp", "webp", "tiff"};
    if (!formats.contains(reader.format()))
        return;
    // Four bytes a point, as decoded; a picture that tells no size before is met by the reader's own limit.
    const QSize points = reader.size();
    if (points.isValid() && qint64{points.width()} * points.height() * 4 > bytesLeft_)
        return;
    const QImage image = reader.read();
    if (image.isNull() || image.sizeInBytes() > bytesLeft_)
        return;
    bytesLeft_ -= image.sizeInBytes();
    images_.append(QVariant::fromValue(image));
}

QByteArray jpegOf(const QImage &image) {
    QImage opaque = image;
    // A painter counts in points, of which a picture for a fine screen holds several pixels.
    opaque.setDevicePixelRatio(1);
    if (image.hasAlphaChannel()) {
        const QImage clear = opaque;
        opaque = QImage(image.size(), QImage::Format_RGB32);
        opaque.fill(Qt::white);
        QPainter(&opaque).drawImage(0, 0, clear);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return opaque.save(&buffer, "JPEG", 100) ? bytes : QByteArray();
}
