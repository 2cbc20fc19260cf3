// How long tags take to be read and written: reading beside a bare TagLib loop over the same 1,000 files, where the
// goal is at most 1.3 times plus the look at the format; the marks on an M4A of 10 MB; and what each of the two answers
// of an identification, its tags and its cover, has the main thread write into such a file, M4A and MP3 (an M4A takes a
// cover only where it has one). Milliseconds over the files are microseconds a file.
#include "platform/run/Log.h"
#include "tags/access/CoverImages.h"
#include "tags/access/GracenoteHelper.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <taglib/mp4coverart.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>

namespace {
constexpr int kFiles = 1'000;

// Copies of one MP3 and one M4A of 20 s, and one of each of 10 MB.
class Files {
public:
    static const Files &made() {
        static const Files files;
        return files;
    }
    QString path(const char *ending, int number) const { return folder_.filePath(QString::number(number) + ending); }
    QString large(const char *ending) const { return folder_.filePath(QString("large") + ending); }

private:
    Files() {
        AudioConverter::Initialize({});
        setLogSink([](const QString &) {});
        for (const char *ending : {".mp3", ".m4a"}) {
            encode(path(ending, 0), 20,
                   {"-metadata", "title=Title", "-metadata", "artist=Artist", "-metadata", "album=Album"});
            TagLibHelper::setID3Info(path(ending, 0), QVariantMap{{TagKey::kTitle, "Title"}, {TagKey::kGenre, "Rock"}});
            for (int i = 1; i < kFiles; ++i)
                QFile::copy(path(ending, 0), path(ending, i));
            encode(large(ending), 330, {"-b:a", "256k"});
        }
    }
    static void encode(const QString &path, int seconds, const QStringList &arguments) {
        const QString noise =
            QStringLiteral("anoisesrc=d=%1:c=pink:r=44100,aformat=channel_layouts=stereo").arg(seconds);
        QProcess::execute("ffmpeg",
                          QStringList{"-v", "error", "-f", "lavfi", "-i", noise} + arguments + QStringList{path});
    }
    QTemporaryDir folder_;
};

template <typename Work>
void overFiles(benchmark::State &state, const char *ending, Work work) {
    const Files &files = Files::made();
    for ([[maybe_unused]] auto iteration : state)
        for (int i = 0; i < kFiles; ++i)
            work(files.path(ending, i));
}

template <typename File>
void bare(const QString &path) {
    File file(QFile::encodeName(path).constData());
    const TagLib::Tag &tag = *file.tag();
    benchmark::DoNotOptimize(tag.title() + tag.artist() + tag.album() + tag.genre() + tag.comment());
    benchmark::DoNotOptimize(tag.year());
}

void bareMP3(benchmark::State &state) { overFiles(state, ".mp3", bare<TagLib::MPEG::File>); }
void bareM4A(benchmark::State &state) { overFiles(state, ".m4a", bare<TagLib::MP4::File>); }
void readMP3(benchmark::State &state) { overFiles(state, ".mp3", TagLibHelper::MP3ID3Info); }
void readM4A(benchmark::State &state) { overFiles(state, ".m4a", TagLibHelper::M4AID3Info); }
void formatMP3(benchmark::State &state) { overFiles(state, ".mp3", AudioFileHelper::AudioFileFormatID); }
void formatM4A(benchmark::State &state) { overFiles(state, ".m4a", AudioFileHelper::AudioFileFormatID); }
void wholeMP3(benchmark::State &state) { overFiles(state, ".mp3", TagLibHelper::ID3Info); }
void wholeM4A(benchmark::State &state) { overFiles(state, ".m4a", TagLibHelper::ID3Info); }

void write(benchmark::State &state, const char *ending) {
    QImage cover(500, 500, QImage::Format_RGB32);
    cover.fill(Qt::darkCyan);
    int number = 0;
    const QString path = Files::made().path(ending, 1);
    for ([[maybe_unused]] auto iteration : state)
        TagLibHelper::setID3Info(
            path, QVariantMap{{TagKey::kTitle, QString::number(++number)}, {TagKey::kCover, QVariantList{cover}}});
}
void writeMP3(benchmark::State &state) { write(state, ".mp3"); }
void writeM4A(benchmark::State &state) { write(state, ".m4a"); }

void marksOnLargeM4A(benchmark::State &state) {
    const QString large = Files::made().large(".m4a"), copy = large + ".m4a";
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        QFile::remove(copy);
        QFile::copy(large, copy);
        state.ResumeTiming();
        GracenoteHelper::setM4AGracenoteInfo(copy);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["MB"] = static_cast<double>(QFile(large).size()) / 1e6;
    state.counters["peak_process_MB"] = static_cast<double>(usage.ru_maxrss) / 1024;
}

QImage cover(int side) {
    QImage image(side, side, QImage::Format_RGB32);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, qRgb(x * y / 7, x ^ y, x + y));
    return image;
}

/// As a file that came with a picture; only into such an M4A is a cover written.
void givePicture(const QString &path, const QImage &image) {
    const QByteArray jpeg = jpegOf(image);
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    TagLib::MP4::CoverArtList list;
    list.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG,
                                      TagLib::ByteVector(jpeg.constData(), static_cast<unsigned>(jpeg.size()))));
    file.tag()->setItem("covr", TagLib::MP4::Item(list));
    file.save();
}

void resultOnLarge(benchmark::State &state, const char *ending, int coverSide) {
    const Files &files = Files::made();
    const QString copy = files.large("-result") + ending, picture = files.large(".jpg");
    QFile::remove(copy);
    QFile::copy(files.large(ending), copy);
    if (qstrcmp(ending, ".m4a") == 0)
        givePicture(copy, cover(/*side=*/300));
    const bool isWithCover = coverSide > 0;
    cover(std::max(coverSide, 1)).save(picture, "JPEG", /*quality=*/90);
    SongItem song;
    song.setArtist("Artist");
    song.setCoverImages({picture});
    song.setCoverImageIndex(0);
    TagLibHelper::setID3Info(copy, tagDictionaryOf(song, /*isWithCover=*/false)); // the marks
    int number = 0;
    for ([[maybe_unused]] auto iteration : state) {
        song.setTitle(QString::number(++number));
        TagLibHelper::setID3Info(copy, tagDictionaryOf(song, isWithCover));
    }
    const QVariantMap written = TagLibHelper::ID3Info(copy).value_or(QVariantMap());
    if (written[TagKey::kTitle] != song.title() ||
        (isWithCover && written[TagKey::kCover].toList().value(0).value<QImage>().width() != coverSide))
        state.SkipWithError("the answer is not in the file");
}
} // namespace

BENCHMARK_CAPTURE(resultOnLarge, M4A_tags, ".m4a", 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(resultOnLarge, M4A_cover500, ".m4a", 500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(resultOnLarge, M4A_cover1200, ".m4a", 1200)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(resultOnLarge, MP3_tags, ".mp3", 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(resultOnLarge, MP3_cover500, ".mp3", 500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(resultOnLarge, MP3_cover1200, ".mp3", 1200)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(bareMP3)->Unit(benchmark::kMillisecond);
BENCHMARK(readMP3)->Unit(benchmark::kMillisecond);
BENCHMARK(formatMP3)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeMP3)->Unit(benchmark::kMillisecond);
BENCHMARK(bareM4A)->Unit(benchmark::kMillisecond);
BENCHMARK(readM4A)->Unit(benchmark::kMillisecond);
BENCHMARK(formatM4A)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeM4A)->Unit(benchmark::kMillisecond);
BENCHMARK(writeMP3)->Unit(benchmark::kMillisecond);
BENCHMARK(writeM4A)->Unit(benchmark::kMillisecond);
BENCHMARK(marksOnLargeM4A)->Unit(benchmark::kMillisecond);
