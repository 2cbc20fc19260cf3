#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <QDir>
#include <QFile>
#include <QtEndian>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

struct AudioFiles : testing::Test {
    AudioFiles() { AudioConverter::Initialize({}); }
    ~AudioFiles() override { AudioConverter::Uninitialize(); }

    // A tone of `frames` frames, encoded as `arguments` say.
    static QString tone(const QString &name, int frames, const QString &arguments = {}, int rate = 44100) {
        const QString cut = QStringLiteral("-af aresample=%1,atrim=end_sample=%2 ").arg(rate).arg(frames);
        return makeTone(name, cut + arguments, /*seconds=*/1 + 1.0 * frames / rate);
    }
    static QByteArray read(const QString &path) { return QByteArray::fromStdString(bytesOf(path)); }
    static QString write(const QString &name, const QByteArray &content) {
        return makeFile(name, content.toStdString());
    }
    // Frames of a stereo WAV file with a header of 44 bytes, -1 if it is none or nothing sounds in it.
    static qint64 wavFrames(const QString &path) {
        const QByteArray wav = read(path);
        if (wav.size() < 44 || wav.mid(8, 8) != "WAVEfmt " ||
            qFromLittleEndian<quint32>(wav.constData() + 40) != wav.size() - 44 || wav.count('\0') > wav.size() / 2)
            return -1;
        return (wav.size() - 44) / 4;
    }
};

// Found by fuzzing: a fragment that claims 80 million samples made libavformat ask for gigabytes.
TEST_F(AudioFiles, LyingCountsGetNoMemory) {
    QByteArray bytes = read(tone("whole.m4a", 44100, "-movflags frag_keyframe+empty_moov+default_base_moof"));
    const auto count = bytes.indexOf("trun") + 8;
    ASSERT_GT(count, 8);
    bytes.replace(count, 4, QByteArray::fromHex("05000000"));
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    // How much of the sound is found is the library's affair.
    AudioConverter::getAudioFileInfo(write("lying.m4a", bytes));
    AudioFileHelper::AudioFileFormatID(inHome("lying.m4a"));
    bytes = read(tone("a.wav", 44100)).replace(24, 4, QByteArray("\1\0\0\0", 4)); // one sample a second
    EXPECT_EQ(AudioConverter::convertAudioToWav(write("slow.wav", bytes), inHome("cut.wav"), /*forEndTime=*/30), 1);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 192 * 1024); // KiB
    EXPECT_EQ(av_malloc(1UL << 30), nullptr);
}

TEST_F(AudioFiles, TheFormatIsWhatDecodesAndNotTheName) {
    const QString mp3 = tone("a.mp3", 44100);
    const QByteArray bytes = read(mp3);
    const QByteArray m4a = read(tone("a.m4a", 44100));
    const QByteArray tag = QByteArray("ID3\x03\0\0\0\0\x02\0", 10) + QByteArray(256, '\0');
    const QByteArray words("just some words\n");
    ASSERT_EQ(::mkfifo(QFile::encodeName(inHome("pipe.mp3")).constData(), 0600), 0);
    for (const auto &[name, path, code] : {
             std::tuple<const char *, QString, uint32_t>{"MP3", mp3, 0x2e6d7033},
             {"M4A", inHome("a.m4a"), 0x61616320},
             {"fragmented M4A", tone("f.m4a", 44100, "-movflags empty_moov+frag_keyframe"), 0x61616320},
             {"M4A called mp3", write("is_m4a.mp3", m4a), 0x61616320},
             {"MP3 behind two tags called m4a", write("tags.m4a", tag + tag + bytes), 0x2e6d7033},
             {"MP3 behind words", write("words.m4a", words.repeated(60'000) + bytes), 0x2e6d7033},
             {"a tag and no frame called m4a", write("tag.m4a", tag), 0},
             {"a pipe", inHome("pipe.mp3"), 0},
             {"layer II", tone("a.mp2", 44100, "-f mp2"), 0x2e6d7032},
             {"bare AAC", tone("a.aac", 44100), 0x61647473},
             {"MP3 in MP4 takes no ID3 tag", tone("mp3.mp4", 44100, "-c:a mp3"), 0x6d703320},
             {"FLAC behind a tag", write("tag.flac", tag + read(tone("a.flac", 44100))), 0x666c6163},
             {"WAV", tone("a.wav", 44100), 0x70636d5f},
             {"text", write("text.mp3", words.repeated(400)), 0},
             {"playlist", write("list.mp3", "#EXTM3U\n#EXTINF:1,\n" + mp3.toUtf8() + "\n"), 0},
             {"an MP3's header alone", write("head.mp3", bytes.left(500) + QByteArray(9000, '\0')), 0},
             {"M4A without its end", write("cut.m4a", m4a.left(m4a.size() / 2)), 0},
             {"empty", write("empty.mp3", ""), 0},
             {"missing", inHome("missing.mp3"), 0},
             {"a folder", QDir::homePath(), 0},
         }) {
        EXPECT_EQ(AudioFileHelper::AudioFileFormatID(path), code) << name;
        EXPECT_EQ(AudioFileHelper::isValidFile(path), code != 0) << name;
    }
    EXPECT_NEAR(AudioFileHelper::fileDuration(inHome("words.m4a")), 1, 1e-6);
}

struct LengthCase {
    const char *file;
    int frames;
    const char *arguments;
    int rate = 44100;
    int delay = 0; // of the encoder, where it is part of the track
};

TEST_F(AudioFiles, LengthsAreExactToTheSampleAndSoAreCuts) {
    for (const auto &[file, frames, arguments, rate, delay] : {
             LengthCase{"plain.m4a", 123'457, ""},
             LengthCase{"whole.m4a", 88'200, ""},
             LengthCase{"fast.m4a", 96'001, "", 48000},
             LengthCase{"mono.m4a", 50'001, "-ac 1", 22050},
             LengthCase{"delayed.m4a", 88'211, "-movflags delay_moov+default_base_moof -frag_duration 500000"},
             LengthCase{"bare.m4a", 88'211, "-movflags empty_moov+default_base_moof -frag_duration 500000", 44100,
                        1024},
             LengthCase{"one_fragment.m4a", 40'000, "-movflags delay_moov+default_base_moof -frag_duration 60000000"},
             LengthCase{"cbr.mp3", 123'457, "-b:a 128k"},
             LengthCase{"vbr.mp3", 88'200, "-q:a 4"},
             LengthCase{"mono.mp3", 50'001, "-ac 1", 22050},
         }) {
        SCOPED_TRACE(file);
        const QString path = tone(file, frames, arguments, rate);
        const double seconds = static_cast<double>(frames + delay) / rate;
        EXPECT_NEAR(AudioFileHelper::fileDuration(path), seconds, 1e-6);
        const auto info = AudioConverter::getAudioFileInfo(path).value_or(QVariantMap());
        EXPECT_EQ(info["FourCCKey"], path.endsWith("mp3") ? "MP3 audio" : "M4A audio");
        EXPECT_EQ(info["SampleRateKey"].toInt(), rate);
        EXPECT_NEAR(info["LengthKey"].toDouble(), seconds, 1e-6);
        EXPECT_GT(info["BitrateKey"].toInt(), 16'000);
        EXPECT_LT(info["BitrateKey"].toInt(), 200'000);

        EXPECT_EQ(AudioConverter::convertAudioToWav(path, inHome("all.wav"), /*forEndTime=*/30), 1);
        EXPECT_EQ(wavFrames(inHome("all.wav")), std::llround(seconds * 44100));
        EXPECT_EQ(AudioConverter::convertAudioToWav(path, inHome("cut.wav"), /*forEndTime=*/0.5), 1);
        EXPECT_EQ(wavFrames(inHome("cut.wav")), 22'050);
    }
    EXPECT_EQ(AudioConverter::getAudioFileInfo(inHome("cbr.mp3"))->value("BitrateKey").toInt(), 128'000);
}

TEST_F(AudioFiles, OddFilesGiveNoInformationOrAnEstimate) {
    QByteArray doubled = read(tone("plain.m4a", 44100));
    const qsizetype configuration = doubled.indexOf(QByteArray("\x12\x10\x56\xe5\x00", 5));
    ASSERT_GT(configuration, 0);
    doubled[configuration + 4] = '\x80'; // announces spectral band replication
    EXPECT_EQ(AudioConverter::getAudioFileInfo(write("he.m4a", doubled)), QVariantMap());
    // Found by fuzzing: an unknown length was added to a negative start.
    const QByteArray headless = read(inHome("plain.m4a")).replace("mdhd", "xxxx");
    EXPECT_EQ(AudioConverter::getAudioFileInfo(write("headless.m4a", headless)).value()["LengthKey"], 0.0);
    EXPECT_EQ(AudioConverter::getAudioFileInfo(tone("a.wav", 44100)), QVariantMap());
    EXPECT_FALSE(AudioConverter::getAudioFileInfo(write("text.mp3", "words")));
    EXPECT_FALSE(AudioConverter::getAudioFileInfo(inHome("missing.mp3")));
    EXPECT_FALSE(AudioConverter::getAudioFileInfo({}));
    EXPECT_NEAR(AudioFileHelper::fileDuration(inHome("a.wav")), 1, 1e-6);
    EXPECT_EQ(AudioFileHelper::fileDuration(inHome("text.mp3")), 0);

    const QByteArray whole = read(tone("whole.mp3", 441'000, "-b:a 128k"));
    const QString half = write("half.mp3", whole.left(whole.size() / 2));
    EXPECT_NEAR(AudioFileHelper::fileDuration(half), 5, 0.1) << "its header still tells 10 seconds";
    EXPECT_EQ(AudioConverter::convertAudioToWav(half, inHome("half.wav"), /*forEndTime=*/30), 1);
    EXPECT_NEAR(wavFrames(inHome("half.wav")) / 44100.0, 5, 0.1);

    EXPECT_EQ(AudioConverter::getFileSize(half), whole.size() / 2);
    EXPECT_EQ(AudioConverter::getFileSize(inHome("missing")), 0);
    tone("tagged.mp3", 4410, "-metadata title=Tone -metadata date=1999");
    const auto texts = AudioConverter::getAudioFileID3Info(inHome("tagged.mp3"));
    EXPECT_EQ(texts->value("title"), "Tone");
    EXPECT_EQ(texts->value("year"), "1999");
}

TEST_F(AudioFiles, AFailedCutLeavesNoFileAndNoOlderOne) {
    const QString source = tone("a.mp3", 441'000);
    const QString target = write("old.wav", "of another track");
    EXPECT_EQ(AudioConverter::convertAudioToWav(inHome("missing.mp3"), target, /*forEndTime=*/30), 0);
    EXPECT_FALSE(QFile::exists(target));
    EXPECT_EQ(AudioConverter::convertAudioToWav(source, inHome("no/folder/a.wav"), /*forEndTime=*/30), 1);

    for (const rlim_t room : {0, 100'000, 44 + 441'000 * 4 - 1}) {
        const NoRoomOnDisk noRoom(room);
        EXPECT_EQ(AudioConverter::convertAudioToWav(source, target, /*forEndTime=*/30), 1);
        EXPECT_EQ(QDir(QDir::homePath()).entryList({"*wav*"}), QStringList()) << room << ": no temporary file either";
    }
}

TEST_F(AudioFiles, SeveralThreadsCutAtOnce) {
    const QString source = tone("a.m4a", 88'200);
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            AudioConverter::convertAudioToWav(source, inHome(QString("%1.wav").arg(i)), /*forEndTime=*/1);
            AudioFileHelper::AudioFileFormatID(source);
        });
    threads.clear();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(wavFrames(inHome(QString("%1.wav").arg(i))), 44100);
}

} // namespace
