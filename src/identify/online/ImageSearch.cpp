#include "identify/online/ImageSearch.h"

#include "identify/online/JsonText.h"
#include "identify/online/MusicBrainz.h"
#include "identify/recognition/RecognitionSettings.h"

#include <QFile>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype kMostCandidates = 4;
constexpr int kMostTried = 12; // pictures of a list, which may name any number of hosts
// The queue gives a track 90 seconds for everything.
constexpr auto kTime = 45s;

/// The covers of one track.
class CoverSearch {
public:
    CoverSearch(HttpClient &client, RecentPictures &recent, const std::stop_token &stop)
        : client_(client), recent_(recent), settings_(RecognitionSettings::current()), stop_(stop) {}

    void look(const Recognition &recognition) {
        if (recognition.cover.isLocalFile()) // only a player's, on this computer, may be one
            add(keepablePicture(pictureFile(recognition.cover.toLocalFile())));
        else
            addPlayersPicture(recognition.cover);
        if (!settings_.online)
            return;
        if (!recognition.releaseID.isEmpty() || !recognition.releaseGroupID.isEmpty())
            addRelease({recognition.releaseID, recognition.releaseGroupID});
        if (pictures_.isEmpty() && !recognition.artist.isEmpty() && !recognition.album.isEmpty())
            addFoundReleases(recognition.artist, recognition.album);
    }

    const QList<QByteArray> &pictures() const { return pictures_; }

private:
    bool isOver() const {
        return stop_.stop_requested() || pictures_.size() >= kMostCandidates || client_.now() > end_;
    }

    // What a player names may be another picture at the next song.
    void addPlayersPicture(const QUrl &address) {
        if (!isOver() && !address.isEmpty() && settings_.online)
            add(fetchedPicture(address));
    }

    void addArchivedPicture(const QUrl &address) {
        if (isOver() || address.isEmpty())
            return;
        QByteArray picture = recent_.picture(address);
        if (picture.isEmpty()) {
            picture = fetchedPicture(address);
            if (!picture.isEmpty())
                recent_.insert(address, picture);
        }
        add(picture);
    }

    QByteArray fetchedPicture(const QUrl &address) const {
        return keepablePicture(fetched(address, kLargestPictureBytes, /*isRemembered=*/false).body);
    }

    void add(const QByteArray &picture) {
        if (!picture.isEmpty() && !pictures_.contains(picture))
            pictures_.append(picture);
    }

    HttpAnswer fetched(const QUrl &address, qint64 sizeLimit, bool isRemembered) const {
        HttpAnswer answer = client_.fetch(
            {.url = address, .sizeLimit = sizeLimit, .isRemembered = isRemembered, .latest = end_}, stop_);
        return answer.status == 200 ? answer : HttpAnswer();
    }

    HttpAnswer fetched(const QString &address) const {
        return fetched(QUrl(address), HttpRequest().sizeLimit, /*isRemembered=*/true);
    }

    void addRelease(const FoundRelease &release) {
        const qsizetype before = pictures_.size();
        if (!release.releaseID.isEmpty() && !isOver())
            addListed(fetched(settings_.coverArtAddress + "/release/" + release.releaseID + '/').body);
        // Another release of the same album may have what this one lacks.
        if (pictures_.size() == before && !release.releaseGroupID.isEmpty())
            addArchivedPicture(settings_.coverArtAddress + "/release-group/" + release.releaseGroupID + "/front-1200");
    }

    void addListed(const QByteArray &body) {
        const auto answer = jsonObject(body);
        const QJsonArray images = answer ? (*answer)["images"].toArray() : QJsonArray();
        int tried = 0;
        for (const bool isFront : {true, false})
            for (const auto &image : images)
                if (image.toObject()["front"].toBool() == isFront && ++tried <= kMostTried)
                    addArchivedPicture(asSafe(addressOf(image.toObject())));
    }

    // The archive names its pictures by http, whichever way it was asked.
    QUrl asSafe(QUrl address) const {
        if (QUrl(settings_.coverArtAddress).scheme() == "https" && address.scheme() == "http")
            address.setScheme(QStringLiteral("https"));
        return address;
    }

    static QUrl addressOf(const QJsonObject &image) {
        const QJsonObject smaller = image["thumbnails"].toObject();
        for (const char *size : {"1200", "large", "500"})
            if (const QString address = textOf(smaller[QLatin1String(size)]); !address.isNull())
                return address;
        return textOf(image["image"]);
    }

    void addFoundReleases(const QString &artist, const QString &album) {
        if (isOver())
            return;
        const HttpAnswer answer = fetched(settings_.musicBrainzAddress + releaseSearchPath(artist, album));
        const QList<FoundRelease> releases = releasesFound(answer.body, artist, album);
        for (const FoundRelease &release : releases) {
            addRelease(release);
            if (isOver() || !pictures_.isEmpty())
                return;
        }
    }

    HttpClient &client_;
    RecentPictures &recent_;
    const RecognitionSettings settings_;
    const std::stop_token &stop_;
    const PaceClock::TimePoint end_ = client_.now() + kTime; // what was found by then is not lost to what takes longer
    QList<QByteArray> pictures_;
};

} // namespace

QByteArray RecentPictures::picture(const QUrl &address) const {
    const std::lock_guard lock(mutex_);
    const QByteArray *known = pictures_.object(address);
    return known ? *known : QByteArray();
}

void RecentPictures::insert(const QUrl &address, const QByteArray &picture) {
    const std::lock_guard lock(mutex_);
    pictures_.insert(address, new QByteArray(picture), picture.size());
}

void ImageSearch::getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &stop) {
    Recognition recognition = recognitionFor_(forSongID);
    recognition.artist = wanted.value(0).toString();
    recognition.album = wanted.value(1).toString();
    CoverSearch search(*client_, recent_, stop);
    search.look(recognition);
    QStringList paths;
    if (!stop.stop_requested())
        for (const QByteArray &picture : search.pictures())
            if (const QString path = FetchedPictures::keep(picture); !path.isNull())
                paths << path;
    if (paths.isEmpty())
        delegate()->getCoverImageError({{"SongID", forSongID}});
    else
        delegate()->getCoverImageInfo({{"ResultAry", paths}, {"SongID", forSongID}});
}
