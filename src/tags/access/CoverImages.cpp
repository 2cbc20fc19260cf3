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
    if (reader.format() == "jpeg" && jpegScans(data).count > kMostJpegScans)
        return;
    const QImage image = reader.read();
    if (image.isNull() || image.sizeInBytes() > bytesLeft_)
        return;
    bytesLeft_ -= image.sizeInBytes();
    images_.append(QVariant::fromValue(image));
}

JpegScans jpegScans(QByteArrayView jpeg) {
    const auto byte = [jpeg](qsizetype at) { return static_cast<uint8_t>(jpeg[at]); };
    int scans = 0;
    for (qsizetype at = 2; at + 2 <= jpeg.size();) {
        const uint8_t marker = byte(at + 1);
        if (byte(at) != 0xff || marker < 0xc0 || marker == 0xff || (marker >= 0xd0 && marker <= 0xd8)) {
            ++at; // the points of a scan
            continue;
        }
        if (marker == 0xd9)
            return {scans, /*isWhole=*/true}; // what stands behind the end is not decoded
        if (at + 4 > jpeg.size())
            break;
        scans += marker == 0xda ? 1 : 0;
        at += 2 + 256 * byte(at + 2) + byte(at + 3);
    }
    return {scans, /*isWhole=*/false};
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
