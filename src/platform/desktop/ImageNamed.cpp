#include "platform/desktop/ImageNamed.h"

#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QPixmapCache>
#include <QRegularExpression>
#include <QSvgRenderer>

// The resources stand in a static library, which the linker leaves out unless somebody names them. The macro declares
// a function of the global namespace.
static void requireResources() {
    static const bool isDone = [] {
        Q_INIT_RESOURCE(resources);
        return true;
    }();
    Q_UNUSED(isDone)
}

namespace {

QList<ImageColour> shownColours;
int generation = 0; // part of every cache key, so that no picture of an earlier appearance is found again

QString fileNamed(const QString &name) {
    requireResources();
    QString path = QStringLiteral(":/images/") + name;
    const bool hasEnding = name.endsWith(QLatin1String(".png")) || name.endsWith(QLatin1String(".svg"));
    if (hasEnding && QFile::exists(path))
        return path;
    const QString stem = hasEnding ? path.chopped(4) : path;
    for (const char *ending : {".svg", ".png"}) {
        QString candidate = stem + QLatin1String(ending);
        if (QFile::exists(candidate))
            return candidate;
    }
    return {};
}

// One pass over the text: a colour that took another's place is not looked up again.
QByteArray recoloured(const QByteArray &svg) {
    static const QRegularExpression colourExpression(QStringLiteral("#[0-9a-fA-F]{6}\\b"));
    const QString text = QString::fromUtf8(svg);
    QString result;
    result.reserve(text.size());
    qsizetype done = 0;
    for (auto matches = colourExpression.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const QRgb drawn = QColor(match.captured()).rgb();
        for (const ImageColour &colour : shownColours) {
            if (colour.drawn != drawn)
                continue;
            result += QStringView(text).mid(done, match.capturedStart() - done);
            result += QColor(colour.shown).name();
            done = match.capturedEnd();
            break;
        }
    }
    result += QStringView(text).mid(done);
    return result.toUtf8();
}

QImage rendered(const QString &path, const QSize &size, qreal devicePixelRatio) {
    if (!path.endsWith(QLatin1String(".svg"))) {
        QImageReader reader(path);
        const QSize logicalSize = size.isEmpty() ? reader.size() : size;
        return reader.read().scaled(logicalSize * devicePixelRatio, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QSvgRenderer renderer(recoloured(file.readAll()));
    const QSize logicalSize = size.isEmpty() ? renderer.defaultSize() : size;
    QImage image(logicalSize * devicePixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace

void setImageColours(const QList<ImageColour> &colours) {
    shownColours = colours;
    ++generation;
}

bool isImageNamed(const QString &name) { return !fileNamed(name).isEmpty(); }

QPixmap imageNamed(const QString &name, const QSize &size, qreal devicePixelRatio) {
    const QString key = QStringLiteral("%1 %2x%3@%4 %5")
                            .arg(name)
                            .arg(size.width())
                            .arg(size.height())
                            .arg(devicePixelRatio)
                            .arg(generation);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    const QString path = fileNamed(name);
    if (path.isEmpty())
        return {};
    pixmap = QPixmap::fromImage(rendered(path, size, devicePixelRatio));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}
