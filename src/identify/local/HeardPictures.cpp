#include "identify/local/HeardPictures.h"

#include "identify/online/CoverPicture.h"
#include "platform/files/Folders.h"

#include <QDateTime>
#include <QDir>
#include <QSaveFile>
#include <QThreadPool>
#include <QTimer>
#include <QUuid>

namespace {

constexpr qint64 kDaysKept = 7;

QString folder() { return applicationSupportFolder() + "/HeardCovers"; }

void removeOldPictures() {
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addDays(-kDaysKept);
    const QFileInfoList pictures = QDir(folder()).entryInfoList(QDir::Files);
    for (const QFileInfo &picture : pictures)
        if (picture.lastModified() < oldest)
            QFile::remove(picture.filePath());
}

// A copy that can't be made leaves the track without the player's picture, not with another one's.
void copyPicture(const QString &from, const QString &to) {
    const QByteArray content = pictureFile(from);
    if (content.isEmpty() || !QDir().mkpath(folder()))
        return;
    removeOldPictures();
    QSaveFile copy(to);
    if (copy.open(QIODevice::WriteOnly) && copy.write(content) == content.size() && copy.flush())
        copy.commit();
}

} // namespace

QUrl HeardPictures::placeOf(const PlayedTitle &title) {
    if (!title.cover.isLocalFile())
        return title.cover;
    if (title.title == last_.title && title.artist == last_.artist && title.cover == last_.cover)
        return place_;
    last_ = title;
    const QString copy = folder() + "/" + QUuid::createUuid().toString(QUuid::WithoutBraces);
    place_ = QUrl::fromLocalFile(copy);
    QTimer::singleShot(settle_, &owner_, [this, original = title.cover.toLocalFile(), copy] {
        if (place_.toLocalFile() == copy)
            QThreadPool::globalInstance()->start([original, copy] { copyPicture(original, copy); });
    });
    return place_;
}
