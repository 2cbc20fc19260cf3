// What an import costs, on a library of its own.
//
// The goals: at most 1.3 times the CPU of reading format, length and tags alone, and the main thread never held over
// 50 ms, whether 10,000 files are dropped or 100,000 paths behind which there is nothing.
//   import_bench                        everything
//   import_bench files|paths|covers     one of its parts
#include "library/ImportCtr.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "platform/run/NotificationCenter.h"
#include "store/DataBaseManager.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"
#include "views/dialogs/ImportResultView.h"
#include "views/library/DroppedFiles.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kFiles = 1'000;   // of each kind
constexpr int kCovered = 1'000; // with a picture; the figures are for each
constexpr int kFolder = 10'000; // files in a folder
constexpr int kMissing = 100'000;

double seconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double residentKilobytes() {
    QFile file("/proc/self/statm");
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').at(1).toDouble() * 4 : 0;
}

QString encoded(const QString &path, int length, const QString &rate = "192k") {
    const QString noise = QStringLiteral("anoisesrc=d=%1:c=pink:r=44100,aformat=channel_layouts=stereo").arg(length);
    QProcess::execute("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", noise, "-b:a", rate, "-metadata", "title=Title",
                                 "-metadata", "artist=Artist", "-metadata", "album=Album", path});
    return path;
}

QStringList copies(const QString &folder, const QString &source, int count) {
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths << QStringLiteral("%1/%2.%3").arg(folder).arg(i).arg(QFileInfo(source).suffix());
        QFile::copy(source, paths.last());
    }
    return paths;
}

/// About 500 KB as JPEG, as an album's cover has.
QByteArray picture(unsigned seed) {
    std::mt19937 random(seed);
    QImage small(280, 280, QImage::Format_RGB32);
    for (int y = 0; y < small.height(); ++y)
        for (int x = 0; x < small.width(); ++x)
            small.setPixel(x, y, random());
    const QImage image = small.scaled(1400, 1400, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 62);
    return bytes;
}

QString withPicture(const QString &path, const QString &sound, const QByteArray &jpeg) {
    QFile cover(path + ".jpg");
    if (!cover.open(QIODevice::WriteOnly) || cover.write(jpeg) != jpeg.size())
        return {};
    cover.close();
    QProcess::execute("ffmpeg", {"-v", "error", "-i", sound, "-i", cover.fileName(), "-map", "0:a", "-map", "1:v", "-c",
                                 "copy", "-id3v2_version", "3", path});
    cover.remove();
    return path;
}

/// What another program lets fall: its bytes as they are, where a QMimeData of one's own keeps URLs.
class DragFromOutside : public QMimeData {
public:
    explicit DragFromOutside(QByteArray uris) : uris_(std::move(uris)) {}
    QStringList formats() const override { return {QStringLiteral("text/uri-list")}; }

protected:
    QVariant retrieveData(const QString & /*mimeType*/, QMetaType /*type*/) const override { return uris_; }

private:
    QByteArray uris_;
};

/// The longest time for which the main thread was held, and how much of it was its own work: the rest was the disk's,
/// and that of other programs.
struct Hold {
    double wall = 0;
    double cpu = 0;
    void during(const std::function<void()> &work) {
        const double start = seconds(CLOCK_MONOTONIC), cpuStart = seconds(CLOCK_THREAD_CPUTIME_ID);
        work();
        wall = qMax(wall, (seconds(CLOCK_MONOTONIC) - start) * 1e3);
        cpu = qMax(cpu, (seconds(CLOCK_THREAD_CPUTIME_ID) - cpuStart) * 1e3);
    }
};

class Bench final : public ImportCtrDelegate {
public:
    Bench() {
        QDir().mkpath(coverImageFolder());
        window_.resize(900, 600);
        window_.show();
    }
    const QString &category() const override { return category_; }
    void showAllMusic() override {}
    void didImport() override {}

    struct Cost {
        double cpu, wall;
        Hold hold;
    };
    /// A drop of `paths`, to the end of the sheet.
    Cost import(const QStringList &paths) {
        const double cpu = seconds(CLOCK_PROCESS_CPUTIME_ID);
        const double wall = seconds(CLOCK_MONOTONIC);
        Hold hold;
        hold.during([&] { NotificationCenter::defaultCenter().postNotification("HasImportedFiles", paths); });
        while (importCtr_.isImporting()) {
            hold.during([] { QApplication::processEvents(); });
            usleep(1'000);
        }
        const Cost cost{seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu, seconds(CLOCK_MONOTONIC) - wall, hold};
        for (int i = 0; i < 20; ++i)
            QApplication::processEvents();
        for (QWidget *result : QApplication::topLevelWidgets())
            if (qobject_cast<ImportResultView *>(result))
                result->close();
        return cost;
    }
    const SongArray &songs() const { return *lists_.allSongArray(); }

private:
    QString category_ = "All Music";
    QWidget window_;
    TrackLists lists_;
    ImportCtr importCtr_{*this, lists_, window_};
};

void read(const QStringList &paths) {
    for (const QString &path : paths) {
        AudioFileHelper::fileDuration(path);
        TagLibHelper::ID3Info(path); // looks at the format
    }
}

void plainFiles(Bench &bench, const QString &folder, const char *ending) {
    const QStringList paths = copies(folder + '/' + ending, encoded(folder + "/source." + ending, 20), kFiles);
    read(paths); // so that the disk has no say
    const double start = seconds(CLOCK_PROCESS_CPUTIME_ID);
    read(paths);
    const double alone = seconds(CLOCK_PROCESS_CPUTIME_ID) - start;
    const double before = residentKilobytes();
    const auto [cpu, wall, hold] = bench.import(paths);
    std::printf("%d %s of 20 s: reading alone %.0f ms, import %.0f ms of CPU (%.2f times), %.0f ms in all, main thread "
                "held %.1f ms (%.1f of CPU), %.2f KB a file\n",
                kFiles, ending, alone * 1e3, cpu * 1e3, cpu / alone, wall * 1e3, hold.wall, hold.cpu,
                (residentKilobytes() - before) / kFiles);
}

qint64 bytesOnDisk(const SongArray &songs) {
    QSet<quint64> files;
    qint64 bytes = 0;
    for (const SongPtr &song : songs) {
        struct stat info {};
        if (::stat(QFile::encodeName(song->coverImages().value(0)).constData(), &info) != 0 ||
            files.contains(info.st_ino))
            continue;
        files.insert(info.st_ino);
        bytes += info.st_blocks * 512;
    }
    return bytes;
}

void coveredFiles(Bench &bench, const QString &folder) {
    QDir().mkpath(folder + "/covered");
    const QString sound = encoded(folder + "/long.mp3", 100, "200k");
    QStringList album;
    for (int i = 0; i < 15; ++i)
        album << withPicture(QStringLiteral("%1/covered/a%2.mp3").arg(folder).arg(i), sound, picture(1));
    QStringList paths;
    for (int i = 0; i < kCovered; ++i)
        paths << withPicture(QStringLiteral("%1/covered/%2.mp3").arg(folder).arg(i), sound, picture(2 + i % 20));
    const auto [cpu, wall, hold] = bench.import(paths);
    std::printf("%d files of %.1f MB with pictures of %lld KB, each another than the last: %.0f ms of CPU, %.0f ms and "
                "%.1f MB on the disk each, main thread held %.1f ms (%.1f of CPU)\n",
                kCovered, static_cast<double>(QFileInfo(paths[0]).size()) / 1e6, picture(2).size() / 1000,
                cpu * 1e3 / kCovered, wall * 1e3 / kCovered,
                static_cast<double>(bytesOnDisk(bench.songs().first(kCovered))) / 1e6 / kCovered, hold.wall, hold.cpu);
    const auto albumCost = bench.import(album);
    std::printf("an album of 15 with one picture: %.0f ms, %.1f MB on the disk\n", albumCost.wall * 1e3,
                static_cast<double>(bytesOnDisk(bench.songs().first(15))) / 1e6);
}

void manyPaths(Bench &bench, const QString &folder) {
    copies(folder + "/folder", encoded(folder + "/short.mp3", 1), kFolder);
    const auto [cpu, wall, hold] = bench.import({folder + "/folder"});
    std::printf("a folder of %d: %.0f ms of CPU, %.0f ms, main thread held %.1f ms (%.1f of CPU)\n", kFolder, cpu * 1e3,
                wall * 1e3, hold.wall, hold.cpu);
    const auto again = bench.import({folder + "/folder"});
    std::printf("the same again, all known: %.0f ms, main thread held %.1f ms (%.1f of CPU)\n", again.wall * 1e3,
                again.hold.wall, again.hold.cpu);

    QByteArray uris;
    for (int i = 0; i < kMissing; ++i)
        uris += QStringLiteral("file:///nowhere/Some%20Artist/A%20Song%20%1.mp3\r\n").arg(i).toUtf8();
    const DragFromOutside drag(uris);
    QStringList missing;
    Hold parsed;
    parsed.during([&] { missing = droppedMusic(drag); });
    const auto none = bench.import(missing);
    std::printf("a drag of %lld paths without files: read in %.1f ms (%.1f of CPU); import %.0f ms, main thread held "
                "%.1f ms (%.1f of CPU)\n",
                missing.size(), parsed.wall, parsed.cpu, none.wall * 1e3, none.hold.wall, none.hold.cpu);
}

} // namespace

int main(int argc, char **argv) {
    const QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "DBUS_SESSION_BUS_ADDRESS"})
        qunsetenv(variable);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    AudioConverter::Initialize({});
    setLogSink([](const QString &) {});
    Bench bench;
    const QString folder = home.filePath("Files");
    QDir().mkpath(folder);
    bench.import({encoded(folder + "/first.mp3", 5)}); // brings in fonts, codecs and the library
    const auto isWanted = [&](const char *part) { return argc < 2 || std::strcmp(argv[1], part) == 0; };
    if (isWanted("files")) {
        plainFiles(bench, folder, "mp3");
        plainFiles(bench, folder, "m4a");
    }
    if (isWanted("paths"))
        manyPaths(bench, folder);
    if (isWanted("covers"))
        coveredFiles(bench, folder);
}
