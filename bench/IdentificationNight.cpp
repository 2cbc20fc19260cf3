// A night's recordings, identified at once: the program with a library of made tracks that have no names, a user who
// selects them all and asks for theirs, and services that know every one and take 300 ms for each answer. Prints how
// long that takes beside what the services' limits allow, and what it costs: requests, processor time by thread,
// memory, descriptors, and how long the main thread did not answer.
//
//   identification_night [--tracks 150] [--delay 300]
//
// Bounds: every track named and with its cover, no request twice, nothing left in the folder for temporary files; from
// the first third of the tracks to the last one at most 8 MiB, a gibibyte of addresses and 4 descriptors more. Exits
// with 1 when one is missed. A main thread of which others take the processor answers late too: the time that it worked
// itself stands beside.
#include "ProcessorTime.h"
#include "ResidentMemory.h"
#include "demo/PrivateMachine.h"
#include "demo/RecognitionServer.h"
#include "demo/RunningProgram.h"
#include "identify/recognition/Fingerprint.h"
#include "identify/recognition/RecognitionSettings.h"
#include "platform/files/Folders.h"
#include "platform/media/EncMgr.h"
#include "platform/media/ExtAudioFile.h"
#include "platform/run/Log.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "tags/audio/AudioConverter.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusMessage>
#include <QDateTime>
#include <QElapsedTimer>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QThread>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <future>
#include <random>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr int kBitRate = 256'000;
constexpr double kShortest = 30, kLongest = 240; // seconds
constexpr int kLookMilliseconds = 250;           // between two looks at the program
constexpr int kQuestionMilliseconds = 10;        // between two questions to its main thread
constexpr int kCoverSide = 1200;
constexpr double kMoreMemory = 8;   // MiB
constexpr double kMoreSpace = 1024; // MiB; threads that come and go leave pools of 64 behind, up to a number
constexpr int kMoreDescriptors = 4;

// Tracks

/// Two voices of random notes and a bass, over noise: no two seeds sound alike, and it is made in no time.
class Melody {
public:
    explicit Melody(uint32_t seed) : random_(seed) {}

    /// Left and right.
    std::pair<float, float> frame() {
        const float noise = 0.02F * (static_cast<float>(random_() % 2001) / 1000 - 1);
        std::pair sum{noise, noise};
        for (size_t i = 0; i < voices_.size(); ++i) {
            Voice &voice = voices_[i];
            if (voice.left-- == 0)
                voice = {.phase = voice.phase,
                         .step = 55 * (1 << i) * std::pow(2.0, static_cast<double>(random_() % 24) / 12) / kSampleRate,
                         .left = static_cast<int>(kSampleRate / 8 * (1 + random_() % 6))};
            voice.phase += voice.step - std::floor(voice.phase + voice.step);
            const auto tone = static_cast<float>(0.2 * (2 * voice.phase - 1));
            sum.first += tone;
            sum.second += tone * (i == 1 ? 0.5F : 1);
        }
        return sum;
    }

private:
    struct Voice {
        double phase = 0, step = 0;
        int left = 0; // frames of its note
    };
    std::mt19937 random_;
    std::array<Voice, 3> voices_;
};

using Block = std::array<std::array<float, kBlockFrames>, 2>;

bool writeM4A(const QString &path, Melody melody, int blocks) {
    QString error;
    const auto file = ExtAudioFile::createNew(path, kBitRate, &error);
    for (int i = 0; file && i < blocks; ++i) {
        Block block;
        for (size_t frame = 0; frame < kBlockFrames; ++frame)
            std::tie(block[0][frame], block[1][frame]) = melody.frame();
        if (!file->waitForRoom(10'000))
            return false;
        file->writeAsync(block[0].data(), block[1].data());
    }
    return file && file->dispose().error.isNull();
}

bool writeMP3(const QString &path, Melody melody, int blocks) {
    const FCHandle file = FCCreateMediaFile(path.toStdU32String(), {.bitRate = kBitRate});
    for (int i = 0; file && i < blocks; ++i) {
        std::array<int16_t, 2 * kBlockFrames> samples{};
        for (size_t at = 0; at < samples.size(); at += 2) {
            const auto [left, right] = melody.frame();
            samples[at] = static_cast<int16_t>(left * 32767);
            samples[at + 1] = static_cast<int16_t>(right * 32767);
        }
        if (FCWriteAudioData(file, {samples.data(), sizeof samples}) != 0)
            return false;
    }
    return file && FCCloseMediaFile(file) == 0;
}

bool isM4A(int number) { return number % 2 == 0; }

QString pathOf(int number) {
    return QStringLiteral("%1/Track%2.%3").arg(QDir::homePath()).arg(number).arg(isM4A(number) ? "m4a" : "mp3");
}

int blocksOf(int number, int tracks) {
    // Most are songs of a radio, a few are long.
    const double seconds =
        kShortest + (kLongest - kShortest) * std::pow(static_cast<double>(number) / tracks, /*exponent=*/20);
    return static_cast<int>(seconds * kSampleRate / kBlockFrames);
}

bool writeEvery(int step, int from, int tracks) {
    for (int number = from; number <= tracks; number += step)
        if (!(isM4A(number) ? writeM4A : writeMP3)(pathOf(number), Melody(static_cast<uint32_t>(number)),
                                                   blocksOf(number, tracks)))
            return false;
    return true;
}

/// Takes a track that has no name yet into the library; what the services know of it, nothing on failure.
std::optional<RecognitionServer::Song> enterTrack(int number, int tracks) {
    SongItem track;
    track.setTitle(QStringLiteral("Track%1").arg(number));
    track.setArtist("Unknown Artist");
    track.setAlbum("Unknown Album");
    track.setSongPath(pathOf(number));
    track.setLength(int64_t{blocksOf(number, tracks)} * kBlockFrames * 1000 / kSampleRate);
    track.setSize(AudioConverter::getFileSize(track.songPath()));
    track.setEncodeKind(isM4A(number) ? "M4A audio" : "MP3 audio");
    track.setAddedDate(QDateTime::currentDateTime().addSecs(-60LL * number));
    const auto fingerprint = fingerprintOfFile(track.songPath(), 120s, {});
    if (!fingerprint || DataBaseManager::defaultManager().insertSongItem(track) <= 0)
        return std::nullopt;
    return RecognitionServer::Song{.title = QStringLiteral("Song %1").arg(number),
                                   .artist = QStringLiteral("Artist %1").arg(number % 40),
                                   .album = QStringLiteral("Album %1").arg(number),
                                   .seconds = static_cast<double>(track.length()) / 1000,
                                   .fingerprint = fingerprint->compressed()};
}

/// As many as `tracks`; fewer if one could not be made.
QList<RecognitionServer::Song> makeTracks(int tracks) {
    QList<RecognitionServer::Song> songs;
    auto others = std::async(std::launch::async, [tracks] { return writeEvery(/*step=*/2, /*from=*/2, tracks); });
    const bool areWritten = writeEvery(/*step=*/2, /*from=*/1, tracks);
    if (!others.get() || !areWritten)
        return songs;
    for (int number = 1; number <= tracks; ++number)
        if (auto song = enterTrack(number, tracks))
            songs << *std::move(song);
    DataBaseManager::defaultManager().closeDataBase();
    return songs;
}

QByteArray makeCover() {
    QImage image(kCoverSide, kCoverSide, QImage::Format_RGB32);
    for (int y = 0; y < kCoverSide; ++y)
        for (int x = 0; x < kCoverSide; ++x)
            image.setPixel(x, y, qRgb(x * y / 700, (x ^ y) / 8, (x + y) / 10));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", /*quality=*/90);
    return bytes;
}

// Services

/// Each on a host of its own, as far as the program's pace is concerned.
class Services {
public:
    Services(const QList<RecognitionServer::Song> &songs, std::chrono::milliseconds delay) {
        for (const auto &[name, server, interval] : all()) {
            server->setSongs(songs);
            server->setDelay(delay);
        }
        covers_.setPicturesAt(archive_.address());
        archive_.setPicturesAt(pictures_.address());
        pictures_.setAnswers("/items/", {{.body = makeCover(), .headers = "Content-Type: image/jpeg\r\n"}});
    }

    void enterIn(UserDefaults &defaults) const {
        defaults.setBool(/*value=*/true, kIdentifyOnline);
        defaults.setObject(QString(RecognitionServer::kKey), kAcoustIDKey);
        defaults.setObject(acoustID_.address(), kAcoustIDAddress);
        defaults.setObject(musicBrainz_.address(), kMusicBrainzAddress);
        defaults.setObject(covers_.address(), kCoverArtAddress);
    }

    /// What was asked, what twice, and the least time in which each may be asked so often. The answer is whether
    /// nothing was asked twice.
    bool print() {
        qsizetype twice = 0;
        for (const auto &[name, server, interval] : all()) {
            const QStringList requests = server->requests();
            const qsizetype same = requests.size() - QSet(requests.begin(), requests.end()).size();
            twice += same;
            std::printf("%-18s %5lld requests, %lld of them twice; at its pace %4.0f s\n", name,
                        static_cast<long long>(requests.size()), static_cast<long long>(same),
                        static_cast<double>(requests.size() - 1) * interval);
        }
        return twice == 0;
    }

private:
    struct Service {
        const char *name;
        RecognitionServer *server;
        double interval; // seconds between two requests
    };
    std::array<Service, 5> all() {
        return {{{"AcoustID", &acoustID_, 1.0 / 3},
                 {"MusicBrainz", &musicBrainz_, 1},
                 {"Cover Art Archive", &covers_, 1},
                 {"its archive", &archive_, 1},
                 {"its pictures", &pictures_, 1}}};
    }

    RecognitionServer acoustID_, musicBrainz_, covers_, archive_, pictures_;
};

// The program

qsizetype entriesOf(const QString &folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot).size();
}

struct Figures {
    double seconds = 0, cpu = 0, memory = 0; ///< so far; MiB
    double space = 0;                        ///< of addresses, MiB
    qsizetype descriptors = 0, threads = 0;

    static Figures of(qint64 process, double seconds) {
        const QString folder = QStringLiteral("/proc/%1/").arg(process);
        return {seconds,
                cpuSeconds(process),
                residentMebibytes(process),
                statusMebibytes(process, "VmSize:"),
                entriesOf(folder + "fd"),
                entriesOf(folder + "task")};
    }
    void print(const QString &name) const {
        std::printf("%-18s %8.1f s %8.2f s CPU %8.1f MiB %8.0f of addresses %5lld descriptors %4lld threads\n",
                    qPrintable(name), seconds, cpu, memory, space, static_cast<long long>(descriptors),
                    static_cast<long long>(threads));
        std::fflush(stdout);
    }
};

/// What the program's main thread did while it did not answer, milliseconds.
struct Hold {
    double time = 0, worked = 0;
    double waited = 0; ///< for the processor, which others had
    QByteArray after;  ///< the last line of the log before it
};

/// Asks the main thread something again and again.
class MainThread {
public:
    explicit MainThread(const RunningProgram &program, QString logPath)
        : tally_(QStringLiteral("/proc/%1/task/%1/schedstat").arg(program.processId())),
          logPath_(std::move(logPath)),
          question_(QDBusMessage::createMethodCall("org.mpris.MediaPlayer2.Corvidia", "/org/mpris/MediaPlayer2",
                                                   "org.freedesktop.DBus.Properties", "Get")) {
        question_ << "org.mpris.MediaPlayer2"
                  << "Identity";
    }

    bool ask() {
        const auto [workedBefore, waitedBefore] = tally();
        QElapsedTimer clock;
        clock.start();
        const bool isAnswered = bus_.call(question_).type() == QDBusMessage::ReplyMessage;
        const double time = static_cast<double>(clock.nsecsElapsed()) * 1e-6;
        const auto [worked, waited] = tally();
        const Hold hold{time, worked - workedBefore, waited - waitedBefore, {}};
        keepLonger(longest_, hold, &Hold::time);
        keepLonger(busiest_, hold, &Hold::worked);
        const auto own = [](const Hold &of) { return of.time - of.waited; };
        if (own(hold) > own(ownLongest_))
            ownLongest_ = withLine(hold);
        return isAnswered;
    }
    void print() const {
        for (const auto &[name, hold] :
             {std::pair{"longest", &longest_}, {"longest but for others", &ownLongest_}, {"busiest", &busiest_}})
            std::printf("Main thread held, %-22s %6.1f ms: %5.1f worked, %6.1f waited for the processor, %6.1f for the "
                        "disk or others; behind \"%s\"\n",
                        name, hold->time, hold->worked, hold->waited, hold->time - hold->worked - hold->waited,
                        hold->after.constData());
    }

private:
    std::pair<double, double> tally() const {
        QFile file(tally_);
        const QByteArrayList words = file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QByteArrayList();
        return {words.value(0).toDouble() * 1e-6, words.value(1).toDouble() * 1e-6};
    }
    void keepLonger(Hold &kept, const Hold &hold, double Hold::*what) const {
        if (hold.*what > kept.*what)
            kept = withLine(hold);
    }
    Hold withLine(Hold hold) const {
        QFile log(logPath_);
        if (log.open(QIODevice::ReadOnly))
            hold.after = log.readAll().trimmed().split('\n').last();
        return hold;
    }

    const QString tally_, logPath_;
    QDBusMessage question_;
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "main-thread");
    Hold longest_, ownLongest_, busiest_;
};

bool pressKeys(const QStringList &keys) {
    return QProcess::execute("xdotool", QStringList{"key", "--delay", "100"} + keys) == 0;
}

bool showLibrary() {
    return QProcess::execute("xdotool", {"search", "--onlyvisible", "--name", "^Tessarine Corvidia$", "windowfocus",
                                         "--sync"}) == 0 &&
           pressKeys({"ctrl+2", "ctrl+f", "Tab", "Tab", "Tab", "Tab", "Down", "Tab", "Tab", "ctrl+a"});
}

/// As the user would: "Identify Track Info" out of the menu of what is selected.
bool askForSelected() { return pressKeys({"Menu", "Down", "Return"}); }

class Night {
public:
    Night(PrivateMachine &machine, int tracks) : machine_(machine), tracks_(tracks) {}

    /// The answer is what went wrong, null when nothing did.
    QString run(Services &services) {
        RunningProgram program(QCoreApplication::applicationDirPath() + "/Corvidia", machine_.filePath("corvidia.log"));
        if (!program.isReady() || !program.hearsSound(1))
            return "the program did not come up";
        if (!showLibrary())
            return "no keys could be pressed";
        QThread::sleep(2); // what its page loads
        Figures::of(program.processId(), 0).print("before");
        if (!askForSelected() || !waitUntil([&] { return program.count("getID3WithSongItem") == tracks_; }))
            return "the program was not asked for all tracks";
        if (QString error = watch(program); !error.isNull())
            return error;
        printThreads(program.processId());
        QThread::sleep(5);
        Figures::of(program.processId(), clock_.elapsed() / 1e3).print("at rest");
        const qsizetype left = entriesOf(QDir::tempPath());
        std::printf("Temporary files that are left: %lld\n", static_cast<long long>(left));
        isKept_ = isKept_ && left == 0;
        isKept_ = services.print() && isKept_;
        return program.activateAction("quit") && program.endsWell() ? QString()
                                                                    : "the program did not end as it should";
    }

    bool isKept() const { return isKept_; }

private:
    static void printThreads(qint64 process) {
        double ended = cpuSeconds(process);
        for (const auto &[thread, spent] : cpuSecondsByThread(process)) {
            ended -= spent;
            if (spent >= 0.05)
                std::printf("  %-18s %8.2f s CPU\n", thread.constData(), spent);
        }
        std::printf("  %-18s %8.2f s CPU\n", "threads that ended", ended);
    }

    QString watch(const RunningProgram &program) {
        MainThread mainThread(program, machine_.filePath("corvidia.log"));
        std::vector<Figures> thirds;
        Figures most;
        QElapsedTimer sinceLook;
        clock_.start();
        for (sinceLook.start(); thirds.size() < 3;) {
            QThread::msleep(kQuestionMilliseconds);
            if (!mainThread.ask())
                return "the program does not answer";
            if (sinceLook.elapsed() < kLookMilliseconds)
                continue;
            sinceLook.restart();
            const Figures now = Figures::of(program.processId(), static_cast<double>(clock_.elapsed()) / 1e3);
            most.memory = std::max(most.memory, now.memory);
            most.descriptors = std::max(most.descriptors, now.descriptors);
            most.threads = std::max(most.threads, now.threads);
            if (const qsizetype done = ended(program);
                done * 3 >= tracks_ * static_cast<qsizetype>(thirds.size() + 1)) {
                now.print(QStringLiteral("after %1").arg(done));
                thirds.push_back(now);
            }
        }
        std::printf("At most %.1f MiB, %lld descriptors, %lld threads\n", most.memory,
                    static_cast<long long>(most.descriptors), static_cast<long long>(most.threads));
        mainThread.print();
        check(thirds.back().memory - thirds.front().memory <= kMoreMemory, "memory");
        check(thirds.back().space - thirds.front().space <= kMoreSpace, "address space");
        check(thirds.back().descriptors - thirds.front().descriptors <= kMoreDescriptors, "descriptors");
        return {};
    }

    static qsizetype ended(const RunningProgram &program) {
        return program.count("upDateSongItemForSearchID3Fininshed") + program.count("getID3Failed");
    }

    void check(bool isWithin, const char *bound) {
        if (!isWithin)
            std::printf("More %s with every track: MISSED\n", bound);
        isKept_ = isKept_ && isWithin;
    }

    PrivateMachine &machine_;
    const int tracks_;
    QElapsedTimer clock_;
    bool isKept_ = true;
};

/// Tracks of the library that don't have the names and covers that the services know.
qsizetype unnamed(const QList<RecognitionServer::Song> &songs) {
    const auto tracks =
        DataBaseManager::defaultManager().getAllSongItems().value_or(QList<std::shared_ptr<SongItem>>());
    return std::ranges::count_if(songs, [&tracks](const RecognitionServer::Song &song) {
        return std::ranges::none_of(tracks, [&song](const auto &track) {
            return track->title() == song.title && track->artist() == song.artist && track->album() == song.album &&
                   track->songPath().section('/', -1).startsWith(song.title + '_') &&
                   QFile::exists(track->songPath()) && !QImage(track->coverImages().value(0)).isNull();
        });
    });
}

/// 0 to 2: what the program exits with.
int identifyNight(PrivateMachine &machine, int tracks, std::chrono::milliseconds delay) {
    const auto failed = [](const QString &error) {
        std::fprintf(stderr, "identification_night: %s\n", qPrintable(error));
        return 2;
    };
    const QList<RecognitionServer::Song> songs = makeTracks(tracks);
    if (songs.size() < tracks)
        return failed("the tracks could not be made");
    Services services(songs, delay);
    services.enterIn(UserDefaults::standardUserDefaults());
    UserDefaults::standardUserDefaults().setBool(/*value=*/false, "AutoFilterMusic");
    UserDefaults::standardUserDefaults().synchronize();
    Night night(machine, tracks);
    if (const QString error = night.run(services); !error.isNull())
        return failed(error);
    const qsizetype missing = unnamed(songs);
    std::printf("%lld of %d tracks have not got name and cover\n", static_cast<long long>(missing), tracks);
    return night.isKept() && missing == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions({{"tracks", "Tracks of the night.", "tracks", "150"},
                        {"delay", "Milliseconds until a service answers.", "delay", "300"}});
    options.process(application);
    const int tracks = options.value("tracks").toInt();
    const int delay = options.value("delay").toInt();
    if (tracks < 3 || delay < 0)
        options.showHelp(2);
    PrivateMachine machine(PrivateSoundServer::Kind::PulseAudio);
    for (const auto &[name, variable] : {std::pair{"home", "HOME"}, {"tmp", "TMPDIR"}}) {
        qputenv(variable, machine.filePath(name).toUtf8());
        QDir().mkpath(machine.filePath(name));
    }
    setLogSink([](const QString &) {});
    AudioConverter::Initialize({});
    if (const QString error = machine.start(); !error.isNull()) {
        std::fprintf(stderr, "identification_night: %s\n", qPrintable(error));
        return 2;
    }
    return identifyNight(machine, tracks, std::chrono::milliseconds(delay));
}
