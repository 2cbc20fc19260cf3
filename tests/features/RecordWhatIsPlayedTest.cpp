// What a listener is promised, with the real program on a real sound server.
#include "demo/FrameCamera.h"
#include "demo/PrivateDesktop.h"
#include "demo/RecordedStream.h"
#include "support/MadeAudio.h"
#include "support/OtherProgram.h"
#include "tags/access/GracenoteHelper.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
using Kind = PrivateSoundServer::Kind;

class RecordWhatIsPlayed : public testing::TestWithParam<std::tuple<Kind, ExportType>> {};

TEST_P(RecordWhatIsPlayed, KeepsEachSongInAFileOfItsOwn) {
    const auto [server, type] = GetParam();
    const SongStream stream = makeSongStream();
    // A folder as users have them.
    const QTemporaryDir folder(QDir::tempPath() + "/Abend \"eins\" ü 音-XXXXXX");
    RecordingPlan plan;
    plan.program = CORVIDIA_PROGRAM;
    plan.wavPath = folder.filePath("stream.wav");
    plan.outFolder = folder.filePath("out");
    plan.server = server;
    plan.type = type;
    plan.framesFolder = plan.outFolder + "/frames";
    ASSERT_TRUE(writeWav(stream, plan.wavPath));
    const QString error = recordStream(plan);
    QFile log(plan.outFolder + "/corvidia.log");
    const QByteArray logged = log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray("none");
    ASSERT_TRUE(error.isNull()) << qPrintable(error) << "\n" << logged.constData();
    EXPECT_FALSE(logged.contains("were lost")) << logged.constData();

    EXPECT_GT(QDir(plan.framesFolder).entryList({"*.png"}).size(), 100);
    const QJsonArray tracks = tracksOfLibrary(plan.outFolder);
    for (const QString &complaint : complaintsAbout(tracks, stream))
        ADD_FAILURE() << qPrintable(complaint);
    // Numbers that a dropped file gave back are given out again, so they run without a hole.
    const QString music = plan.outFolder + "/home/Music/Tessarine Corvidia";
    const QString ending = type == ExportType::MP3 ? ".mp3" : ".m4a";
    EXPECT_EQ(QDir(music).entryList(QDir::Files, QDir::Name),
              QStringList({"Track1_Unknown Artist" + ending, "Track2_Unknown Artist" + ending,
                           "Track3_Unknown Artist" + ending}));
    for (const QJsonValue track : tracks) {
        const QString path = track["path"].toString();
        const QVariantMap tags = TagLibHelper::ID3Info(path).value_or(QVariantMap());
        EXPECT_EQ(tags[TagKey::kTitle].toString(), track["title"].toString());
        EXPECT_TRUE(ffprobeReads(path, track["title"].toString()));
        EXPECT_EQ(tags[TagKey::kArtist].toString(), "Unknown Artist");
        // An M4A gets no picture where it had none.
        EXPECT_EQ(tags[TagKey::kCover].toList().size(), type == ExportType::MP3 ? 1 : 0);
        EXPECT_EQ(GracenoteHelper::hasGracenoteInfo(path), type == ExportType::M4A);
    }
    // Other programs read the library too.
    const std::string kind = type == ExportType::MP3 ? "MP3 audio" : "M4A audio";
    EXPECT_EQ(outputOf("sqlite3", {plan.outFolder + "/home/.local/share/Tessarine Corvidia/Library.db",
                                   "SELECT SongID, Title, EncodeKind, SampleRate FROM Song"}),
              "1|Track1|" + kind + "|44100\n2|Track2|" + kind + "|44100\n3|Track3|" + kind + "|44100");
}

TEST(FrameCamera, TellsWhenThereAreNoPictures) {
    const QTemporaryDir folder;
    PrivateDesktop desktop(folder.path());
    ASSERT_TRUE(desktop.start()); // and nothing on it
    EXPECT_EQ(FrameCamera(folder.path()).stop(), "no picture of the window could be taken");
    qputenv("DISPLAY", ":none");
    EXPECT_EQ(FrameCamera(folder.path()).stop(), "no picture of the window could be taken");
}

INSTANTIATE_TEST_SUITE_P(Servers, RecordWhatIsPlayed,
                         testing::Combine(testing::Values(Kind::PulseAudio, Kind::PipeWire),
                                          testing::Values(ExportType::M4A, ExportType::MP3)),
                         [](const auto &test) {
                             return std::string(std::get<0>(test.param) == Kind::PulseAudio ? "PulseAudio"
                                                                                            : "PipeWire") +
                                    (std::get<1>(test.param) == ExportType::M4A ? "M4a" : "Mp3");
                         });
} // namespace
