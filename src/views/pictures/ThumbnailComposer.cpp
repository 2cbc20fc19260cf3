#include "views/pictures/ThumbnailComposer.h"

#include "platform/run/Log.h"
#include "store/TimeAndSizeText.h"

namespace {

QString failed(PictureTrouble *trouble, PictureTrouble why) {
    if (trouble)
        *trouble = why;
    return {};
}

QString writePicture(const QImage &image) {
    QString path = getTempImagePath();
    const bool isSuccess = !path.isNull() && writeTiff(image, path);
    logLine(QStringLiteral("issuccess  %1").arg(static_cast<int>(isSuccess)));
    return isSuccess ? path : QString();
}

} // namespace

QSize ThumbnailComposer::fittingSize(const QSize &size, const QSize &imgSize) {
    if (size.width() <= imgSize.width() && size.height() <= imgSize.height())
        return size;
    return size.scaled(imgSize, Qt::KeepAspectRatio).expandedTo({1, 1});
}

QString ThumbnailComposer::prepareThumbnailWithImage(const QString &path, const QSize &imgSize,
                                                     PictureTrouble *trouble) {
    QFile file(path);
    if (!openRegularFile(file))
        return failed(trouble, PictureTrouble::NotAPicture);
    return prepareThumbnailWithImage(file, imgSize, trouble);
}

QString ThumbnailComposer::prepareThumbnailWithImage(QIODevice &picture, const QSize &imgSize,
                                                     PictureTrouble *trouble) {
    limitPictureMemory();
    if (isBrokenJpeg(picture))
        return failed(trouble, PictureTrouble::Broken);
    QImageReader reader(&picture);
    reader.setAutoTransform(true);
    if (const PictureTrouble why = troubleOf(reader); why != PictureTrouble::None)
        return failed(trouble, why);
    // The decoders of the large formats scale while they read.
    const bool isLying = reader.transformation() & QImageIOHandler::TransformationRotate90;
    reader.setScaledSize(fittingSize(reader.size(), isLying ? imgSize.transposed() : imgSize));
    const QImage image = reader.read();
    if (image.isNull())
        return failed(trouble, PictureTrouble::Broken);
    const QString copy =
        writePicture(image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32));
    return copy.isNull() ? failed(trouble, PictureTrouble::NoRoom) : copy;
}
