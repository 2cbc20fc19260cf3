#include "views/pictures/CoverCache.h"

#include "platform/desktop/ImageNamed.h"
#include "views/pictures/PictureFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QImageReader>
#include <QPointer>
#include <utility>

namespace {

constexpr const char *kDefaultCover = ":/images/default_coverImage.png";

// A file whose reading ends at once when the cache goes: a picture of many million pixels takes its time.
class StoppableFile : public QFile {
public:
    StoppableFile(const QString &path, const std::atomic<bool> &isStopping) : QFile(path), isStopping_(isStopping) {}

protected:
    qint64 readData(char *data, qint64 maxSize) override {
        return isStopping_.load(std::memory_order_relaxed) ? -1 : QFile::readData(data, maxSize);
    }

private:
    const std::atomic<bool> &isStopping_;
};

// The largest part in the middle of `whole` that has the proportions of `shape`.
QRect middlePart(const QSize &whole, const QSize &shape) {
    QSize part = shape.scaled(whole, Qt::KeepAspectRatio).expandedTo({1, 1});
    return {QPoint((whole.width() - part.width()) / 2, (whole.height() - part.height()) / 2), part};
}

// The size stands in the header, and is looked at before anything is decoded. The decoders of the large formats scale
// while they read.
QImage readPicture(const QString &path, const QSize &pixels, const std::atomic<bool> &isStopping) {
    StoppableFile file(path, isStopping);
    if (!openRegularFile(file))
        return {};
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    if (troubleOf(reader) != PictureTrouble::None)
        return {};
    const QSize size = reader.size();
    const bool isLying = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QSize drawn = isLying ? pixels.transposed() : pixels;
    reader.setClipRect(middlePart(size, drawn));
    reader.setScaledSize(drawn);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

} // namespace

size_t qHash(const CoverKey &key, size_t seed) {
    return qHashMulti(seed, key.path, key.version, key.pixels.width(), key.pixels.height());
}

CoverCache &CoverCache::shared() {
    // The routine runs while the application is still whole: a picture may be on its way.
    static QPointer<CoverCache> cache;
    if (!cache) {
        cache = new CoverCache;
        qAddPostRoutine([] { delete cache.data(); });
    }
    return *cache;
}

CoverCache::CoverCache(QObject *parent) : QObject(parent), images_(kMostBytes) {
    pool_.setMaxThreadCount(1);
    limitPictureMemory();
    // What every failure falls back on; the question also brings the resources in.
    [[maybe_unused]] const bool isThere = isImageNamed(QStringLiteral("default_coverImage"));
    Q_ASSERT(isThere);
}

CoverCache::~CoverCache() {
    isStopping_ = true;
    pool_.waitForDone();
}

QImage CoverCache::cover(const CoverKey &key) {
    const QImage *image = images_.object(key);
    return image ? *image : QImage();
}

void CoverCache::want(QObject *asker, const QList<CoverKey> &keys) {
    if (wishes_.removeIf([&](const Wish &wish) { return wish.asker == asker; }) == 0)
        connect(asker, &QObject::destroyed, this, &CoverCache::forget);
    Wish wish{.asker = asker, .keys = {}};
    for (const CoverKey &key : keys) {
        Q_ASSERT(!key.pixels.isEmpty() && key.pixels.width() <= CoverKey::kLargestSide &&
                 key.pixels.height() <= CoverKey::kLargestSide);
        if (!images_.contains(key))
            wish.keys.append(key);
    }
    wishes_.prepend(wish);
    readNext();
}

void CoverCache::forget(const QObject *asker) {
    wishes_.removeIf([&](const Wish &wish) { return wish.asker == asker; });
}

// One at a time, chosen when the last one has come: what was scrolled away meanwhile is not among the wishes.
void CoverCache::readNext() {
    if (isReading_)
        return;
    const auto wish = std::find_if(wishes_.begin(), wishes_.end(), [](const Wish &w) { return !w.keys.isEmpty(); });
    if (wish == wishes_.end())
        return;
    isReading_ = true;
    pool_.start([this, key = wish->keys.takeFirst()] {
        QImage image = readPicture(key.path, key.pixels, isStopping_);
        if (image.isNull())
            image = readPicture(QString::fromLatin1(kDefaultCover), key.pixels, isStopping_);
        QMetaObject::invokeMethod(
            this, [this, key, image] { didRead(key, image); }, Qt::QueuedConnection);
    });
}

void CoverCache::didRead(const CoverKey &key, const QImage &image) {
    isReading_ = false;
    images_.insert(key, new QImage(image), image.sizeInBytes());
    for (Wish &wish : wishes_)
        wish.keys.removeAll(key);
    emit coverCame(key);
    readNext();
}
