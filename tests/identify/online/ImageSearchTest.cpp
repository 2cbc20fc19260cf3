#include "identify/online/ImageSearch.h"
#include "MadeClock.h"
#include "OnlineSettings.h"
#include "support/MadePictures.h"
#include "support/NoRoomOnDisk.h"

#include <QDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace std::chrono_literals;
using Answer = RecognitionServer::Answer;

QByteArray picture(const char *format, int side = 40, Qt::GlobalColor colour = Qt::red, int height = 30) {
    return QByteArray::fromStdString(encoded(pictureOf(colour, {side, height}), format));
}

TEST(CoverPicture, KeepsPicturesByTheirContentOnly) {
    QByteArray overdrawn = picture("jpeg");
    overdrawn.insert(overdrawn.size() - 2,
                     overdrawn.sliced(overdrawn.lastIndexOf("\xff\xda")).chopped(2).repeated(100));
    for (const auto &[name, bytes, isKept] : {
             std::tuple<const char *, QByteArray, bool>{"JPEG", picture("jpeg"), true},
             {"PNG", picture("png"), true},
             {"8,000 points wide", picture("png", 8000), true},
             {"8,001 points wide", picture("png", 8001), false},
             {"GIF", "GIF89a" + QByteArray(100, '\0'), false},
             {"BMP", picture("bmp"), false},
             {"SVG", R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"/>)", false},
             {"HTML", "<!doctype html>", false},
             {"the head of a PNG", picture("png").left(60), false},
             {"a head and no more", picture("jpeg").left(4), false},
             {"a JPEG without its end", picture("jpeg").chopped(2), false},
             {"a JPEG that is drawn over and over", overdrawn, false},
             {"nothing", {}, false},
         })
        EXPECT_EQ(keepablePicture(bytes), isKept ? bytes : QByteArray()) << name;
    const QByteArray webp = picture("webp");
    EXPECT_TRUE(keepablePicture(webp).startsWith("\xff\xd8\xff")) << "as a JPEG, which every program reads";
    EXPECT_TRUE(keepablePicture(webp.left(30)).isEmpty());
    EXPECT_EQ(QImage::fromData(keepablePicture(picture("png", 8000, Qt::red, 8000))).size(), QSize(1200, 1200));
}

struct ImageSearches : testing::Test, GetImageControllerDelegate {
    ImageSearches() {
        server.setSongs({song});
        setRecognition(server.address());
        search.setDelegate(this);
    }
    void getCoverImageInfo(const QVariantMap &info) override {
        EXPECT_EQ(info["SongID"], 7);
        EXPECT_FALSE(info["ResultAry"].toStringList().isEmpty());
        answers << info["ResultAry"].toStringList();
    }
    void getCoverImageError(const QVariantMap &info) override {
        EXPECT_EQ(info["SongID"], 7);
        answers << QStringList();
    }
    // What the pictures that were found hold.
    QByteArrayList found(const Recognition &of, const QVariantList &wanted = {}, const std::stop_token &stop = {}) {
        recognition = of;
        answers.clear();
        search.getCoverImage(wanted, 7, stop);
        EXPECT_EQ(answers.size(), 1) << "answers exactly once";
        QByteArrayList pictures;
        for (const QString &path : answers.value(0))
            pictures << QByteArray::fromStdString(bytesOf(path));
        return pictures;
    }
    Recognition released() const {
        Recognition made;
        made.releaseID = song.releaseID();
        made.releaseGroupID = song.releaseGroupID();
        return made;
    }
    static Recognition shown(const QUrl &cover) {
        Recognition made;
        made.cover = cover;
        return made;
    }

    const RecognitionServer::Song song{.title = "Title", .artist = "Artist", .album = "Album", .seconds = 200};
    const QByteArray cover = RecognitionServer::cover(song.releaseID());
    RecognitionServer server;
    MadeClock clock;
    Recognition recognition;
    QList<QStringList> answers;
    ImageSearch search{std::make_shared<HttpClient>(clock, HttpClient::Limits{.time = 30s}),
                       [this](int32_t) { return recognition; }};
};

TEST_F(ImageSearches, FindTheCoverOfTheReleaseOrOfItsAlbumOrByName) {
    EXPECT_EQ(found(released()), QByteArrayList{cover});
    Recognition other = released();
    other.releaseID = "00000000-0000-0000-0000-000000000009"; // has none of its own
    EXPECT_EQ(found(other), QByteArrayList{cover});
    EXPECT_EQ(found({}, {"Artist", "Album", 7}), QByteArrayList{cover});
    for (const QVariantList &wanted : {QVariantList{"Artist", "Other", 7}, QVariantList{"Artist"}, QVariantList{}})
        EXPECT_EQ(found({}, wanted), QByteArrayList());
}

TEST_F(ImageSearches, GiveUpToFourTheFrontFirst) {
    QByteArrayList entries;
    for (int i = 0; i < 6; ++i) {
        const QByteArray path = "/picture" + QByteArray::number(i);
        server.setAnswers(path, {{200, i == 1 ? "<html>" : picture("png", 20 + i)}});
        entries << R"({"front":)" + QByteArray(i == 3 ? "true" : "false") + R"(,"id":)" + QByteArray::number(i) +
                       R"(,"image":")" + server.address().toUtf8() + path + R"("})";
    }
    const QString own = makeFile("own.png", picture("png", 99).toStdString());
    entries.prepend(R"({"front":true,"image":")" + QUrl::fromLocalFile(own).toEncoded() + R"("})"); // is none of theirs
    server.setAnswers("/release/", {{200, R"({"images":[null,)" + entries.join(',') + "]}"}});
    const auto spare = {0, 2, 4, 5};
    for (const int i : spare)
        server.setAnswers("/picture" + QByteArray::number(i), {{503}});
    const double start = clock.seconds();
    EXPECT_EQ(found(released()), QByteArrayList{picture("png", 23)}) << "before the queue gives up and takes nothing";
    EXPECT_LE(clock.seconds() - start, 45);

    for (const int i : spare)
        server.setAnswers("/picture" + QByteArray::number(i), {{200, picture("png", 20 + i)}});
    const QByteArrayList four{picture("png", 23), picture("png", 20), picture("png", 22), picture("png", 24)};
    EXPECT_EQ(found(released()), four);
    const qsizetype asked = server.requests().size();
    EXPECT_EQ(found(released()), four);
    EXPECT_LE(server.requests().size(), asked + 1) << "for the next track of the album only what was no picture";
}

TEST_F(ImageSearches, TakeThePictureOfThePlayer) {
    const QString path = makeFile("shown.png", picture("png").toStdString());
    ASSERT_EQ(::mkfifo(QFile::encodeName(inHome("pipe.png")).constData(), 0600), 0);
    server.setAnswers("/shown", {{200, picture("jpeg")}});
    EXPECT_EQ(found(shown(QUrl::fromLocalFile(path))), QByteArrayList{picture("png")});
    EXPECT_EQ(found(shown(server.address() + "/shown")), QByteArrayList{picture("jpeg")});
    const qsizetype asked = server.requests().size();
    for (const QUrl &bad : {QUrl::fromLocalFile(inHome("pipe.png")), QUrl::fromLocalFile(QDir::homePath()),
                            QUrl::fromLocalFile("/dev/zero"), QUrl::fromLocalFile("/etc/passwd"), QUrl("data:,a"),
                            QUrl("ftp://nobody.invalid/a.png"), QUrl("qrc:/images/icon.svg")})
        EXPECT_EQ(found(shown(bad)), QByteArrayList()) << qPrintable(bad.toString());
    setRecognition(server.address(), /*isOnline=*/false);
    EXPECT_EQ(found(shown(server.address() + "/shown")), QByteArrayList());
    EXPECT_EQ(found(released(), {"Artist", "Album", 7}), QByteArrayList());
    EXPECT_EQ(found(shown(QUrl::fromLocalFile(path))), QByteArrayList{picture("png")});
    EXPECT_EQ(server.requests().size(), asked) << "without consent only the player's files";
}

TEST_F(ImageSearches, AnswerWhateverComesAndLeaveNoPiecesBehind) {
    for (const auto &[name, path, answer] : {
             std::tuple<const char *, const char *, Answer>{"60 MB", "/items", {200, QByteArray(60'000'000, '\xff')}},
             {"a cut picture", "/items", {200, cover, {}, Answer::Trouble::Cut}},
             {"HTML", "/items", {200, "<html>"}},
             {"no list", "/release/", {200, R"({"images":{"a":1}})"}},
         }) {
        server.setAnswers(path, {answer});
        Recognition of = released();
        of.releaseGroupID.clear();
        EXPECT_EQ(found(of), QByteArrayList()) << name;
        server.setAnswers(path, {});
    }
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(found(released(), {}, stop.get_token()), QByteArrayList());
    EXPECT_EQ(withoutRoom([this] { return found(released()); }), QByteArrayList());
    EXPECT_EQ(found(released()), QByteArrayList{cover});
    EXPECT_EQ(QDir(QFileInfo(answers.first().first()).path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

} // namespace
