#include "identify/online/CoverPicture.h"

#include "platform/files/Folders.h"
#include "tags/access/CoverImages.h"

#include <QBuffer>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>
#include <QUuid>
#include <cmath>

namespace {

constexpr int kLargestSide = 8000;
// As the archive's own largest copies. The library writes a cover into the file on the main thread, which a picture of
// 8,000 by 8,000 would hold for seconds.
constexpr int kMostPoints = 1200 * 1200;
constexpr qint64 kKeptForSeconds = 3600;

QString folder() { return applicationSupportFolder() + "/FetchedCovers"; }

// The format by the first bytes of a file: a plugin of Qt's would take much that only looks a bit like a picture.
const char *formatOf(const QByteArray &bytes) {
    if (bytes.startsWith("\xff\xd8\xff"))
        return "jpeg";
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return "png";
    if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP")
        return "webp";
    return nullptr;
}

bool isBrokenJpeg(const QByteArray &bytes) {
    const JpegScans scans = jpegScans(bytes);
    return !scans.isWhole || scans.count > kMostJpegScans;
}

void removeOldPictures() {
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addSecs(-kKeptForSeconds);
    const QFileInfoList pictures = QDir(folder()).entryInfoList(QDir::Files);
    for (const QFileInfo &picture : pictures)
        if (picture.lastModified() < oldest)
            QFile::remove(picture.filePath()); // one that stays is tried again
}

} // namespace

QByteArray keepablePicture(const QByteArray &bytes) {
    const char *format = formatOf(bytes);
    if (!format || bytes.size() > kLargestPictureBytes)
        return {};
    QByteArray content = bytes;
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > kLargestSide || size.height() > kLargestSide ||
        (qstrcmp(format, "jpeg") == 0 && isBrokenJpeg(bytes)))
        return {};
    const double excess = std::sqrt(static_cast<double>(size.width()) * size.height() / kMostPoints);
    if (excess > 1)
        reader.setScaledSize((QSizeF(size) / excess).toSize().expandedTo(QSize(1, 1)));
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return excess > 1 || qstrcmp(format, "webp") == 0 ? jpegOf(image) : bytes;
}

QByteArray pictureFile(const QString &path) {
    // Opening a pipe would wait for its other end.
    const QFileInfo info(path);
    QFile file(path);
    if (!info.isFile() || info.size() > kLargestPictureBytes || !file.open(QIODevice::ReadOnly))
        return {};
    return file.read(kLargestPictureBytes);
}

FetchedPictures::FetchedPictures() { QDir(folder()).removeRecursively(); }

QString FetchedPictures::keep(const QByteArray &picture) {
    if (!QDir().mkpath(folder()))
        return {};
    removeOldPictures();
    const QString ending = picture.startsWith("\x89PNG") ? "png" : "jpg";
    QSaveFile file(
        QStringLiteral("%1/%2.%3").arg(folder(), QUuid::createUuid().toString(QUuid::WithoutBraces), ending));
    // The flush by commit() would fail in silence.
    const bool isKept =
        file.open(QIODevice::WriteOnly) && file.write(picture) == picture.size() && file.flush() && file.commit();
    return isKept ? file.fileName() : QString();
}
