#include "views/pictures/PictureFile.h"

#include "platform/run/LocalizedString.h"
#include "tags/access/CoverImages.h"

#include <QImageWriter>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kMostFileBytes = 256 * 1024 * 1024;
constexpr int kLzw = 1;                  // of the TIFF writer's compressions, where 0 is none
constexpr int kAllocationLimitMiB = 384; // kMostPixels of four bytes, half as many of eight

// By what the file holds, not by its name. Left out are formats that name other files or are programs of a kind.
bool isKnownFormat(const QByteArray &format) {
    return format == "jpeg" || format == "png" || format == "gif" || format == "bmp" || format == "webp" ||
           format == "tiff";
}

} // namespace

bool openRegularFile(QFile &file) {
    const QString path = file.fileName();
    if (path.startsWith(QLatin1String(":/")))
        return file.open(QIODevice::ReadOnly);
    if (path.isEmpty() || path.contains(QChar::Null))
        return false;
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); // NOLINT
    if (descriptor < 0)
        return false;
    struct stat status {};
    const bool isGood =
        ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kMostFileBytes;
    if (isGood && file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

PictureTrouble troubleOf(QImageReader &reader) {
    if (!isKnownFormat(reader.format()))
        return PictureTrouble::NotAPicture;
    const QSize size = reader.size();
    if (size.isEmpty())
        return PictureTrouble::Empty;
    const qint64 points = qint64(size.width()) * size.height();
    if (points > kMostPixels)
        return PictureTrouble::TooLarge;
    const bool isDeep = QImage::toPixelFormat(reader.imageFormat()).bitsPerPixel() > 32;
    return isDeep && points > kMostPixels / 2 ? PictureTrouble::TooDeep : PictureTrouble::None;
}

// What is missing at the end would come out grey.
bool isBrokenJpeg(QIODevice &picture) {
    if (picture.peek(2) != QByteArrayView("\xff\xd8"))
        return false;
    const JpegScans scans = jpegScans(picture.readAll());
    picture.seek(0);
    return !scans.isWhole || scans.count > kMostJpegScans;
}

void limitPictureMemory() { QImageReader::setAllocationLimit(kAllocationLimitMiB); }

// The last bytes reach the disk with the flush, which the writer does not look at.
bool writeTiff(const QImage &image, const QString &path) {
    QFile file(path);
    if (image.isNull() || !file.open(QIODevice::WriteOnly))
        return false;
    QImageWriter writer(&file, "tiff");
    writer.setCompression(kLzw);
    const bool isWritten = writer.write(image) && file.flush() && file.error() == QFileDevice::NoError;
    file.close();
    if (!isWritten)
        QFile::remove(path); // which the object itself would not do after an error
    return isWritten;
}

QString textOf(PictureTrouble trouble) {
    switch (trouble) {
    case PictureTrouble::NotAPicture:
        return localizedString("It is no picture. Covers can be JPEG, PNG, GIF, BMP, WebP and TIFF files.");
    case PictureTrouble::Empty:
        return localizedString("The picture has no size.");
    case PictureTrouble::TooLarge:
        return localizedString("The picture has more than 100 million points.");
    case PictureTrouble::TooDeep:
        return localizedString("The picture has more than 50 million points of 16 bits a colour.");
    case PictureTrouble::Broken:
        return localizedString("The picture is broken.");
    case PictureTrouble::Elsewhere:
        return localizedString("Only its address came, and nothing is loaded from the web. Copy the picture itself.");
    case PictureTrouble::NoRoom:
        return localizedString("The library has no room for a copy of the picture, or may not be written.");
    default:
        return {};
    }
}
