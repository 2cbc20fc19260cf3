#include "identify/online/MusicBrainz.h"

#include "identify/online/JsonText.h"
#include "identify/online/OnlineTexts.h"

#include <QRegularExpression>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

namespace {

// The order in which kinds of releases are preferred.
enum class Kind { Album, Single, OtherAlbum, Compilation, Other };

struct Release {
    QString identifier, groupIdentifier, title, date;
    bool isOfficial = false;
    Kind kind = Kind::Other;
    bool isOfItsLength = true;

    auto rank() const { return std::tuple(!isOfItsLength, !isOfficial, kind, sortedDate(), identifier); }
    // A date that stops at the year or the month comes behind the whole ones of that time.
    QString sortedDate() const { return date + QStringLiteral("9999-99-99").mid(date.size()); }
};

Kind kindOf(const QJsonObject &group) {
    const QString primary = textOf(group["primary-type"]);
    const QJsonArray secondary = group["secondary-types"].toArray();
    if (secondary.contains("Compilation"))
        return Kind::Compilation;
    if (primary == "Single" || primary == "EP")
        return Kind::Single;
    if (primary != "Album")
        return Kind::Other;
    return secondary.isEmpty() ? Kind::Album : Kind::OtherAlbum;
}

// The beginning of a date that is one: "", "2001", "2001-07" or "2001-07-04".
QString dateOf(const QJsonValue &value) {
    static const QRegularExpression date("^[1-9][0-9]{3}(-[0-9]{2}(-[0-9]{2})?)?");
    return date.match(textOf(value)).captured();
}

// Whether the recording is as long there as the track; it is where the release doesn't tell.
bool isOfLength(const QJsonObject &release, double seconds) {
    bool isTold = false;
    for (const auto &medium : release["media"].toArray())
        for (const auto &track : medium.toObject()["tracks"].toArray())
            if (const auto length = numberOf(track.toObject()["length"])) {
                if (std::abs(*length / 1000 - seconds) <= kLengthTolerance)
                    return true;
                isTold = true;
            }
    return !isTold;
}

Release releaseOf(const QJsonObject &told, double seconds) {
    const QJsonObject group = told["release-group"].toObject();
    return {.identifier = identifierOf(told["id"]),
            .groupIdentifier = identifierOf(group["id"]),
            .title = textOf(told["title"]),
            .date = dateOf(told["date"]),
            .isOfficial = textOf(told["status"]) == "Official",
            .kind = kindOf(group),
            .isOfItsLength = isOfLength(told, seconds)};
}

std::optional<Release> bestRelease(const QJsonArray &told, double seconds) {
    std::vector<Release> releases;
    for (const auto &value : told)
        if (Release release = releaseOf(value.toObject(), seconds); !release.title.isNull())
            releases.push_back(std::move(release));
    if (releases.empty())
        return std::nullopt;
    return *std::ranges::min_element(releases, {}, &Release::rank);
}

QString genreOf(const QJsonArray &genres) {
    QString best;
    double most = 0;
    for (const auto &value : genres) {
        const QJsonObject genre = value.toObject();
        const double count = numberOf(genre["count"]).value_or(0);
        if (const QString name = textOf(genre["name"]); !name.isNull() && count > most) {
            best = name;
            most = count;
        }
    }
    return best;
}

// A text in the quotation marks of the search's language, in which these two characters mean something.
QString quoted(QString text) { return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"'; }

} // namespace

QString recordingPath(const QString &identifier) {
    return "/ws/2/recording/" + identifier + "?fmt=json&inc=artist-credits+releases+release-groups+media+isrcs+genres";
}

QString releaseSearchPath(const QString &artist, const QString &album) {
    const QString query = "artist:" + quoted(artist) + " AND release:" + quoted(album);
    return "/ws/2/release?query=" + QString::fromLatin1(QUrl::toPercentEncoding(query)) + "&fmt=json&limit=5";
}

std::optional<Recognition> recognitionOf(const QByteArray &body, double seconds) {
    const auto told = jsonObject(body);
    if (!told || identifierOf((*told)["id"]).isNull())
        return std::nullopt;
    Recognition found;
    found.title = textOf((*told)["title"]);
    found.artist = creditedArtists((*told)["artist-credit"].toArray());
    found.genre = genreOf((*told)["genres"].toArray());
    if (const auto release = bestRelease((*told)["releases"].toArray(), seconds)) {
        found.album = release->title;
        found.year = release->date.isEmpty() ? QString() : release->date.left(4);
        found.releaseID = release->identifier;
        found.releaseGroupID = release->groupIdentifier;
    }
    return found;
}

QList<FoundRelease> releasesFound(const QByteArray &body, const QString &artist, const QString &album) {
    QList<FoundRelease> found;
    const auto answer = jsonObject(body);
    const QJsonArray releases = answer ? (*answer)["releases"].toArray() : QJsonArray();
    for (const auto &value : releases) {
        const QJsonObject told = value.toObject();
        const FoundRelease release{identifierOf(told["id"]), identifierOf(told["release-group"].toObject()["id"])};
        if (!release.releaseID.isNull() && isSameText(textOf(told["title"]), album) &&
            isSameText(creditedArtists(told["artist-credit"].toArray()), artist))
            found.append(release);
    }
    return found;
}
