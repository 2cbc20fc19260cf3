#include "demo/RecognitionServices.h"

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUuid>
#include <cmath>

namespace {

using Answer = RecognitionServer::Answer;
using Song = RecognitionServer::Song;
using Songs = QList<Song>;

constexpr int kUsualDifference = 7; // seconds

// Always the same for the same thing.
QString identifier(const QString &kind, const QString &name) {
    return QUuid::createUuidV5(QUuid(), kind + '/' + name).toString(QUuid::WithoutBraces);
}

Answer json(const QJsonObject &object, int status = 200) {
    return {status, QJsonDocument(object).toJson(QJsonDocument::Compact), "Content-Type: application/json\r\n"};
}

Answer redirection(const QString &target, int status) { return {status, {}, "Location: " + target.toUtf8() + "\r\n"}; }

Answer noPicture() { return {404, "<!doctype html><title>404 Not Found</title>", "Content-Type: text/html\r\n"}; }

QJsonArray credit(const Song &song) {
    const QJsonObject artist{{"id", identifier("artist", song.artist)}, {"name", song.artist}};
    return {QJsonObject{{"name", song.artist}, {"joinphrase", ""}, {"artist", artist}}};
}

Answer acoustIDError(int code, const char *message, int status) {
    return json({{"status", "error"}, {"error", QJsonObject{{"code", code}, {"message", message}}}}, status);
}

Answer lookup(const ServiceRequest &request, const Songs &songs) {
    for (const char *name : {"client", "duration", "fingerprint"})
        if (request.value(name).isEmpty())
            return acoustIDError(2, "missing required parameter", 400);
    if (request.value("client") != RecognitionServer::kKey)
        return acoustIDError(4, "invalid API key", 400);
    if (!request.value("fingerprint").startsWith("AQ"))
        return acoustIDError(3, "invalid fingerprint", 400);
    const QString told = request.value("maxdurationdiff");
    const int difference = told.isNull() ? kUsualDifference : told.toInt();
    if (difference < 1 || difference > 30)
        return acoustIDError(11, "parameter \"maxdurationdiff\" must be between 1 and 30", 400);
    QJsonArray results;
    for (const Song &song : songs)
        if (song.fingerprint.isEmpty() ? std::abs(song.seconds - request.value("duration").toDouble()) <= difference
                                       : song.fingerprint == request.value("fingerprint").toLatin1())
            results.append(QJsonObject{
                {"id", identifier("track", song.title)},
                {"score", 0.98},
                {"recordings", QJsonArray{QJsonObject{{"id", song.recordingID()},
                                                      {"title", song.title},
                                                      {"duration", song.seconds},
                                                      {"sources", 41},
                                                      {"artists", QJsonArray{QJsonObject{{"name", song.artist}}}}}}}});
    return json({{"status", "ok"}, {"results", results}});
}

QJsonObject release(const Song &song, const QString &title, const QJsonArray &secondaryTypes, const QString &date) {
    const QJsonObject track{{"number", "3"}, {"title", song.title}, {"length", song.seconds * 1000}};
    const QJsonObject medium{{"position", 1}, {"format", "CD"}, {"tracks", QJsonArray{track}}};
    return {{"id", identifier("release", song.artist + '/' + title)},
            {"title", title},
            {"status", "Official"},
            {"date", date},
            {"country", QJsonValue()},
            {"artist-credit", credit(song)},
            {"release-group", QJsonObject{{"id", identifier("group", song.artist + '/' + title)},
                                          {"title", title},
                                          {"primary-type", "Album"},
                                          {"secondary-types", secondaryTypes}}},
            {"media", QJsonArray{medium}}};
}

Answer musicBrainzError(const char *text, int status) {
    return json({{"error", text}, {"help", "For usage, please see the documentation."}}, status);
}

// The album stands behind an older compilation, as it often does.
Answer recording(const QString &identifierText, const Songs &songs) {
    if (QUuid(identifierText).isNull())
        return musicBrainzError("Invalid mbid.", 400);
    for (const Song &song : songs)
        if (song.recordingID() == identifierText)
            return json({{"id", identifierText},
                         {"title", song.title},
                         {"length", song.seconds * 1000},
                         {"first-release-date", song.date},
                         {"artist-credit", credit(song)},
                         {"genres", QJsonArray{QJsonObject{{"name", "seldom"}, {"count", 1}},
                                               QJsonObject{{"name", song.genre}, {"count", 5}}}},
                         {"releases", QJsonArray{release(song, "The Sampler", {"Compilation"}, "1999"),
                                                 release(song, song.album, {}, song.date)}}});
    return musicBrainzError("Not Found", 404);
}

Answer releaseSearch(const QString &query, const Songs &songs) {
    QJsonArray releases;
    for (const Song &song : songs)
        if (query.contains('"' + song.album + '"') && query.contains('"' + song.artist + '"'))
            releases.append(release(song, song.album, {}, song.date));
    return json({{"count", releases.size()}, {"releases", releases}});
}

Answer listOfPictures(const QString &releaseID, const QString &address) {
    const QString picture = address + "/release/" + releaseID + "/1";
    const QJsonObject front{
        {"id", "1"},
        {"types", QJsonArray{"Front"}},
        {"front", true},
        {"image", picture + ".jpg"},
        {"thumbnails",
         QJsonObject{{"250", picture + "-250.jpg"}, {"500", picture + "-500.jpg"}, {"1200", picture + "-1200.jpg"}}}};
    return json({{"release", address + "/release/" + releaseID}, {"images", QJsonArray{front}}});
}

// /release/ID/ is the list, anything behind it a picture, which another host has, which sends to a third one.
Answer coverArt(const QString &kind, const QString &identifierText, const QString &rest, const Songs &songs,
                const QString &address, const QString &picturesAt) {
    if (QUuid(identifierText).isNull() || identifierText != identifierText.toLower())
        return {400, "<!doctype html><title>400 Bad Request</title>"};
    for (const Song &song : songs)
        if (identifierText == (kind == "release" ? song.releaseID() : song.releaseGroupID())) {
            if (rest.isEmpty() && kind == "release")
                return listOfPictures(identifierText, address);
            return redirection(picturesAt + "/download/" + song.releaseID(), 307);
        }
    return noPicture();
}

} // namespace

std::optional<ServiceRequest> ServiceRequest::takeFrom(QByteArray &received) {
    const qsizetype headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return std::nullopt;
    const QList<QByteArray> lines = received.left(headEnd).split('\n');
    ServiceRequest request;
    qsizetype formSize = 0;
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.left(colon).toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length")
            formSize = value.toLongLong();
        else if (name == "user-agent")
            request.userAgent = QString::fromUtf8(value);
    }
    const qsizetype formStart = headEnd + 4;
    if (received.size() < formStart + formSize)
        return std::nullopt;
    const QList<QByteArray> words = lines.first().split(' ');
    const QUrl address = QUrl::fromEncoded(words.value(1));
    request.method = QString::fromUtf8(words.first());
    request.path = address.path();
    QString parameters = address.query(QUrl::FullyEncoded);
    if (formSize > 0)
        parameters += '&' + QString::fromUtf8(received.mid(formStart, formSize));
    request.parameters = QUrlQuery(parameters);
    received.remove(0, formStart + formSize);
    return request;
}

QString ServiceRequest::value(const QString &name) const {
    return parameters.hasQueryItem(name) ? parameters.queryItemValue(name, QUrl::FullyDecoded) : QString();
}

QString ServiceRequest::text() const {
    return method + ' ' + path + (parameters.isEmpty() ? QString() : '?' + parameters.query(QUrl::FullyDecoded));
}

QString RecognitionServer::Song::recordingID() const { return identifier("recording", artist + '/' + title); }
QString RecognitionServer::Song::releaseID() const { return identifier("release", artist + '/' + album); }
QString RecognitionServer::Song::releaseGroupID() const { return identifier("group", artist + '/' + album); }

QByteArray RecognitionServer::cover(const QString &releaseID) {
    QImage picture(500, 500, QImage::Format_RGB32);
    picture.fill(QColor::fromHsv(static_cast<int>(qHash(releaseID, /*seed=*/0) % 360), 160, 200));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPEG");
    return bytes;
}

Answer serviceAnswer(const ServiceRequest &request, const Songs &songs, const QString &address,
                     const QString &picturesAt) {
    static const QRegularExpression named(R"(^\S+/\S+ \( \S+ \)$)");
    static const QRegularExpression coverPath("^/(release|release-group)/([^/]+)/?(.*)$");
    if (!named.match(request.userAgent).hasMatch())
        return {403, "<!doctype html><title>Who are you?</title>"};
    if (request.path == "/v2/lookup")
        return lookup(request, songs);
    if (request.path == "/ws/2/release")
        return releaseSearch(request.value("query"), songs);
    if (const QString start = "/ws/2/recording/"; request.path.startsWith(start))
        return recording(request.path.mid(start.size()), songs);
    if (const auto match = coverPath.match(request.path); match.hasMatch())
        return coverArt(match.captured(1), match.captured(2), match.captured(3), songs, address, picturesAt);
    if (const QString start = "/download/"; request.path.startsWith(start))
        return redirection(picturesAt + "/items/" + request.path.mid(start.size()), 302);
    if (const QString start = "/items/"; request.path.startsWith(start))
        return {200, RecognitionServer::cover(request.path.mid(start.size())), "Content-Type: image/jpeg\r\n"};
    return noPicture();
}
