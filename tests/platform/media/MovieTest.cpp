#include "platform/media/Movie.h"

#include "demo/PrivateDesktop.h"
#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "platform/run/NotificationCenter.h"
#include "support/MadeAudio.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <cmath>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kRate = 44100;

/// What comes out of the loudspeakers, mono.
class Loudspeakers {
public:
    Loudspeakers() {
        endWithParent(recorder_);
        recorder_.start("parec", {"-d", QString(PrivateSoundServer::kSink) + ".monitor", "--latency-msec=10",
                                  "--format=float32le", "--channels=1", "--rate=44100", "--raw"});
        EXPECT_TRUE(recorder_.waitForReadyRead(10'000));
    }
    ~Loudspeakers() {
        recorder_.kill();
        recorder_.waitForFinished();
    }
    /// What was heard until now, or since the last call.
    std::vector<float> heard() {
        waitUntil([] { return false; }, 200); // what is still on its way
        const QByteArray bytes = recorder_.readAllStandardOutput();
        std::vector<float> samples(static_cast<size_t>(bytes.size()) / sizeof(float));
        memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        return samples;
    }

private:
    QProcess recorder_;
};

/// How long a tone of `frequency` is in it.
double secondsOf(double frequency, const std::vector<float> &samples) {
    int periods = 0;
    double last = 0;
    for (size_t i = 1; i < samples.size(); ++i) {
        if (samples[i - 1] >= 0 || samples[i] < 0)
            continue;
        const double crossing = static_cast<double>(i) - samples[i] / (samples[i] - samples[i - 1]);
        periods += std::abs((crossing - last) * frequency / kRate - 1) < 0.02 ? 1 : 0;
        last = crossing;
    }
    return periods / frequency;
}

bool isAudible(float sample) { return std::abs(sample) > 0.01f; }

/// From the first sample to the last that can be heard.
std::vector<float> audiblePart(const std::vector<float> &samples) {
    const auto first = std::find_if(samples.begin(), samples.end(), isAudible);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isAudible).base();
    return first < last ? std::vector(first, last) : std::vector<float>();
}

float peakOf(const std::vector<float> &samples) {
    const auto isSmaller = [](float a, float b) { return std::abs(a) < std::abs(b); };
    return std::abs(*std::max_element(samples.begin(), samples.end(), isSmaller));
}

constexpr MovieTime at(double seconds) { return {.timeValue = static_cast<qint64>(seconds * 1'000'000)}; }
double seconds(MovieTime time) { return static_cast<double>(time.timeValue) / time.timeScale; }

class MovieTest : public testing::Test {
protected:
    void SetUp() override {
        NotificationCenter::defaultCenter().addObserver(&owner, kMovieDidEndNotification,
                                                        [this](const Notification &end) {
                                                            ++ends;
                                                            if (whenEnded)
                                                                whenEnded(*std::any_cast<Movie *>(end.object));
                                                        });
    }
    void startServer() { ASSERT_TRUE(server.start()) << qPrintable(server.errorText()); }
    std::unique_ptr<Movie> open(const QString &path) {
        std::unique_ptr<Movie> movie = Movie::initWithFile(path, &error);
        EXPECT_TRUE(movie) << qPrintable(path + ": " + error);
        if (movie)
            QObject::connect(movie.get(), &Movie::playingDidFail, &owner,
                             [this](const QString &why) { failure = why; });
        return movie;
    }
    bool isOver() const { return ends > 0 || !failure.isNull(); }
    void playWhole(Movie &movie, bool isHeldUp = false) {
        ends = 0;
        movie.play();
        QThread::sleep(isHeldUp ? 3 : 0);
        ASSERT_TRUE(waitUntil([this] { return isOver(); }));
        EXPECT_TRUE(failure.isNull()) << qPrintable(failure);
    }
    void playBeyond(Movie &movie, double time) {
        movie.play();
        ASSERT_TRUE(waitUntil([&] { return seconds(movie.currentTime()) > time || isOver(); }));
    }

    QTemporaryDir folder{"/tmp/corvidia-XXXXXX"};
    PrivateSoundServer server{PrivateSoundServer::Kind::PulseAudio, folder.path()};
    QObject owner;
    int ends = 0;
    std::function<void(Movie &)> whenEnded;
    QString error, failure;
};

} // namespace

TEST_F(MovieTest, PlaysOneTrackAfterTheOtherWholeAndWithoutAPause) {
    startServer();
    const QString second = makeSound("second.mp3", "sine=880:sample_rate=44100:duration=1");
    std::unique_ptr<Movie> movie = open(makeTone("first.m4a"));
    Loudspeakers loudspeakers;
    whenEnded = [&](Movie &ended) {
        EXPECT_EQ(&ended, movie.get());
        EXPECT_EQ(ended.currentTime().timeValue, ended.duration().timeValue);
        if (ends == 1) {
            movie = open(second);
            movie->play();
        }
    };
    movie->play();
    ASSERT_TRUE(waitUntil([&] { return ends == 2; }));
    const std::vector<float> heard = audiblePart(loudspeakers.heard());
    EXPECT_NEAR(secondsOf(440, heard), 1, 0.02);
    EXPECT_NEAR(secondsOf(880, heard), 1, 0.04);
    EXPECT_NEAR(static_cast<double>(heard.size()) / kRate, 2, 0.5); // some hundredths where the machine is quick
    EXPECT_TRUE(failure.isNull());
}

TEST_F(MovieTest, SeeksToWhereItIsToldAndTellsWhereItIs) {
    startServer();
    Loudspeakers loudspeakers;
    // Of a variable bit rate the noise takes many times the bytes of the tones.
    const QString source =
        "aevalsrc='lt(t,2)*0.3*(2*random(0)-1)+gte(t,2)*0.3*sin(2*PI*t*if(lt(t,3),400,1200))':s=44100:d=4";
    for (const QString &path : {makeSound("constant.mp3", source, "-b:a 128k"),
                                makeSound("variable.mp3", source, "-q:a 4"), makeSound("a.m4a", source, "-b:a 128k")})
        for (const bool isPlaying : {false, true}) {
            SCOPED_TRACE(qPrintable(path + (isPlaying ? ", playing" : ", paused")));
            const std::unique_ptr<Movie> movie = open(path);
            if (isPlaying)
                playBeyond(*movie, 0.3);
            movie->setCurrentTime(at(2.5));
            EXPECT_EQ(movie->currentTime().timeValue, at(2.5).timeValue);
            movie->play();
            ends = 0;
            double last = 2.5;
            QElapsedTimer clock;
            clock.start();
            ASSERT_TRUE(waitUntil([&] {
                const double now = seconds(movie->currentTime());
                const double passed = static_cast<double>(clock.restart()) / 1000;
                EXPECT_TRUE(now >= last && now < last + passed + 0.2) << last << " then " << now;
                last = now;
                return isOver() || now > 3.2;
            }));
            movie->stop();
            const double stopped = seconds(movie->currentTime());
            const std::vector<float> heard = loudspeakers.heard();
            EXPECT_NEAR(secondsOf(400, heard), 0.5, 0.02);
            EXPECT_NEAR(secondsOf(1200, heard), stopped - 3, 0.4); // a late stop lets what is buffered sound
        }
}

TEST_F(MovieTest, VolumeIsLinear) {
    startServer();
    Loudspeakers loudspeakers;
    const std::unique_ptr<Movie> movie = open(makeTone("a.m4a"));
    std::vector<float> peaks;
    for (const float volume : {1.0f, 0.5f, 0.1f, 0.0f}) {
        movie->setVolume(volume);
        playWhole(*movie);
        peaks.push_back(peakOf(loudspeakers.heard()));
    }
    EXPECT_NEAR(peaks[1] / peaks[0], 0.5, 0.02);
    EXPECT_NEAR(peaks[2] / peaks[0], 0.1, 0.01);
    EXPECT_EQ(peaks[3], 0);
}

TEST_F(MovieTest, AFileIsWholeAlsoIfNobodyLookedWhereItIs) {
    startServer();
    const std::unique_ptr<Movie> movie = open(makeTone("a.m4a", "-b:a 128k", 2));
    for (const bool isHeldUp : {false, true})
        playWhole(*movie, isHeldUp);
}

TEST_F(MovieTest, OnlyAnEndThatWasPlayedToIsTold) {
    startServer();
    const QString path = makeTone("a.m4a");
    std::unique_ptr<Movie> movie = open(path);
    movie->play();
    movie->setCurrentTime(at(7));
    EXPECT_EQ(movie->currentTime().timeValue, movie->duration().timeValue);
    std::unique_ptr<Movie> stopped = open(path);
    stopped->setCurrentTime(at(0.8));
    playBeyond(*stopped, 0.9);
    stopped->stop();
    std::unique_ptr<Movie> gone = open(path);
    gone->setCurrentTime(at(0.9));
    playBeyond(*gone, 0.95);
    gone.reset();
    waitUntil([&] { return isOver(); }, 1500);
    EXPECT_EQ(ends, 0);
    movie->play(); // from the end means from the start
    EXPECT_LT(seconds(movie->currentTime()), 0.5);
    EXPECT_TRUE(waitUntil([&] { return ends == 1; }));
    EXPECT_TRUE(failure.isNull());
}

TEST_F(MovieTest, AFileThatIsNotThereOrNoSoundIsRefused) {
    startServer();
    const QString good = makeTone("good.m4a");
    ASSERT_EQ(mkfifo(qPrintable(inHome("pipe.mp3")), 0600), 0);
    ASSERT_TRUE(QDir::home().mkdir("folder.mp3"));
    ASSERT_TRUE(QFile::link("/dev/zero", inHome("device.mp3")));
    const std::string bytes = bytesOf(good);
    for (const QString &path :
         {inHome("missing.mp3"), QString(), inHome("pipe.mp3"), inHome("folder.mp3"), inHome("device.mp3"),
          good + QChar(0), makeFile("empty.mp3", ""), makeFile("zeros.mp3", std::string(100'000, '\0')),
          makeFile("cut.m4a", bytes.substr(0, bytes.size() / 2)),
          makeFile("list.mp3", "#EXTM3U\n#EXTINF:1,x\n" + good.toStdString() + "\n"),
          makeFile("edits.m4a", "# mpv EDL v0\n" + good.toStdString() + "\n"),
          makeFile("joined.mp3", "ffconcat version 1.0\nfile good.m4a\n")}) {
        SCOPED_TRACE(qPrintable(path));
        error.clear();
        EXPECT_EQ(Movie::initWithFile(path, &error), nullptr);
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST_F(MovieTest, ANameIsNeverMoreThanAName) {
    startServer();
    const QString good = makeTone("good.m4a");
    QDir::setCurrent(QDir::homePath());
    for (const char *name : {"-a.m4a", "http://a.m4a", "edl://a.m4a", "a\nb.m4a", "%1%d%2F.m4a", "a#t=1&b?c.m4a",
                             "memory://<b>.m4a", "\xff\xfe.m4a", "\u202e3pm.m4a"}) {
        SCOPED_TRACE(name);
        const QString path = QFile::decodeName(name);
        QDir::home().mkpath(QFileInfo(path).path());
        ASSERT_TRUE(QFile::copy(good, path));
        const std::unique_ptr<Movie> movie = open(path);
        EXPECT_TRUE(waitUntil([&] { return std::abs(seconds(movie->duration()) - 1) < 0.05; }));
    }
}

TEST_F(MovieTest, AFileThatIsCutShortFailsAndOneThatIsOnlyRemovedPlaysOn) {
    startServer();
    const QString atOnce = makeTone("atOnce.m4a", "-b:a 128k -movflags faststart", 4);
    const QString later = makeTone("later.mp3", "-b:a 320k", 60);
    ASSERT_EQ(truncate(qPrintable(atOnce), QFileInfo(atOnce).size() / 2), 0);
    for (const QString &path : {atOnce, later}) {
        SCOPED_TRACE(qPrintable(path));
        const std::unique_ptr<Movie> movie = open(path);
        failure.clear();
        playBeyond(*movie, 0.2);
        if (path == later) {
            movie->setCurrentTime(at(10));
            ASSERT_EQ(truncate(qPrintable(later), 450'000), 0);
        }
        QThread::sleep(path == atOnce ? 3 : 0); // nobody looks where it is
        ASSERT_TRUE(waitUntil([&] { return isOver(); }));
        EXPECT_EQ(failure, "The file is damaged.");
        EXPECT_EQ(std::exchange(ends, 0), 0);
    }
    failure.clear();
    const QString removed = makeTone("removed.mp3");
    const std::unique_ptr<Movie> movie = open(removed);
    ASSERT_TRUE(QFile::remove(removed));
    playWhole(*movie);
}

TEST_F(MovieTest, PlaysOnFromWhereItWasWhenTheSoundServerIsBack) {
    const std::unique_ptr<Movie> movie = open(makeTone("a.mp3", {}, 3));
    movie->setCurrentTime(at(1));
    movie->play();
    ASSERT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_EQ(failure, "There is no sound server to play to.");
    EXPECT_EQ(movie->currentTime().timeValue, at(1).timeValue);

    startServer();
    Loudspeakers loudspeakers;
    failure.clear();
    playBeyond(*movie, 1.5);
    server.kill();
    ASSERT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_EQ(failure, "There is no sound server to play to.");
    EXPECT_NEAR(seconds(movie->currentTime()), 1.5, 0.3);
    EXPECT_EQ(ends, 0);

    // One that hangs stops nobody else.
    startServer();
    server.suspend();
    const auto start = std::chrono::steady_clock::now();
    movie->play();
    const std::unique_ptr<Movie> other = open(inHome("a.mp3"));
    other->play();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    server.resume();
    EXPECT_TRUE(waitUntil([&] { return ends == 2; }));
}
