// What the library page costs on the main thread, in a real window: how long one turn of it takes (what happened, and
// the drawing that it brought) while the user scrolls, searches, sorts, glides along the covers, records and deletes.
//
//   page_bench [TRACKS]     100,000 unless told
//
// Bounds: scrolling below 33 ms a turn; gliding along the covers of 10,000 tracks below 16.7. Exits with 1 when one is
// missed.
#include "ResidentMemory.h"
#include "demo/PrivateMachine.h"
#include "library/LibraryCtr.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/SketchButton.h"
#include "views/controls/TextButton.h"
#include "views/library/ImageFlow.h"
#include "views/library/MyOutlineView.h"
#include "views/library/MyTableView.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/window/LibraryPage.h"
#include "views/window/PlayPanel.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace {

constexpr int kCovers = 200;
constexpr int kCoverPixels = 600;
constexpr double kScrollBound = 33;
constexpr double kGlideBound = 1000.0 / 60;

// One turn of the main thread, milliseconds. The CPU is the thread's own: what the clock shows beyond it, others had.
struct Turn {
    double time;
    double cpu;
};

double cpuMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

class Turns {
public:
    void add(Turn turn) { turns_.push_back(turn); }
    double longest() const { return std::ranges::max(turns_, {}, &Turn::time).time; }
    void print(const char *name) {
        std::printf("%-36s %5zu turns   median %5.2f   99 %% %6.2f   longest %6.2f   (of CPU %5.2f %6.2f %6.2f) ms\n",
                    name, turns_.size(), at(&Turn::time, 0.5), at(&Turn::time, 0.99), longest(), at(&Turn::cpu, 0.5),
                    at(&Turn::cpu, 0.99), at(&Turn::cpu, 1));
    }

private:
    double at(double Turn::*what, double share) {
        std::ranges::sort(turns_, {}, what);
        return turns_[static_cast<size_t>(share * static_cast<double>(turns_.size() - 1))].*what;
    }

    std::vector<Turn> turns_;
};

Turn turn(const std::function<void()> &work) {
    QElapsedTimer clock;
    clock.start();
    const double before = cpuMilliseconds();
    work();
    QCoreApplication::processEvents();
    return {static_cast<double>(clock.nsecsElapsed()) * 1e-6, cpuMilliseconds() - before};
}

void rest(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
}

// The page as the window has it, without the window.
class Page final : public LibraryCtrDelegate {
public:
    explicit Page(int tracks) {
        page_.resize(900, 501);
        page_.show();
        SongArray songs;
        for (int i = 0; i < tracks; ++i)
            songs << track(i);
        TrackLists loaded(std::move(songs));
        std::printf("%-44s %6.1f ms\n", "tracks shown after they were read",
                    turn([&] { library.takeTracks(std::move(loaded)); }).time);
        library.categoryViewCtr().selectRow(2);
        rest(500);
    }
    void displayStatus(const QString &) override {}
    bool isRecording() const override { return false; }
    bool isDisplayRecordView() const override { return false; }

    static SongPtr track(int i) {
        auto song = std::make_shared<SongItem>();
        song->setSongID(i + 1);
        song->setTitle(QStringLiteral("Title of track %1").arg(i * 7919 % 100'003));
        song->setArtist(QStringLiteral("Artist number %1").arg(i / 60));
        song->setAlbum(QStringLiteral("Album number %1").arg(i / 12));
        song->setLength(180'000 + i);
        song->setSize(5'000'000 + i);
        song->setAddedDate(QDateTime::fromSecsSinceEpoch(1'700'000'000 - i * 240));
        song->setSongPath(QStringLiteral("/home/somebody/Music/%1.m4a").arg(i));
        song->setCoverImages({coverPath(i % kCovers)});
        song->setCoverImageIndex(0);
        song->setIsImported(true); // so that its file stays, which is none
        return song;
    }
    static QString coverPath(int i) { return QStringLiteral("%1/%2_0.jpg").arg(coverImageFolder()).arg(i); }

    MyTableView &table() { return *library.listViewCtr().tableView(); }
    IKImageFlowView &flow() { return *page_.findChild<IKImageFlowView *>(); }

    QLineEdit search;

private:
    LibraryPage page_{nullptr};
    SketchButton playBtn_{{}, {38, 38}, "Play", /*parent=*/nullptr};
    PlayPanel playPanel_{nullptr};
    QPushButton filter_, show_, handOver_;
    TextButton editBtn_{"Info", /*parent=*/nullptr};

public:
    LibraryCtr library{*this,
                       LibraryViews{page_, playBtn_, playPanel_, search, {&filter_, &show_, &handOver_}, editBtn_}};
};

void makeCovers() {
    QDir().mkpath(coverImageFolder());
    QImage cover(kCoverPixels, kCoverPixels, QImage::Format_RGB32);
    for (int i = 0; i < kCovers; ++i) {
        for (int y = 0; y < kCoverPixels; ++y)
            for (int x = 0; x < kCoverPixels; ++x)
                cover.setPixel(x, y, qRgb(x * i % 256, (y + i * 16) % 256, (x ^ y) % 256));
        cover.save(Page::coverPath(i), nullptr, 90);
    }
}

bool scroll(Page &page) {
    QScrollBar &bar = *page.table().verticalScrollBar();
    Turns pages, whole;
    for (int i = 0; i < 300; ++i)
        pages.add(turn([&] { bar.setValue(bar.value() + bar.pageStep()); }));
    for (int i = 0; i <= 300; ++i)
        whole.add(turn([&] { bar.setValue(static_cast<int>(static_cast<qint64>(bar.maximum()) * i / 300)); }));
    pages.print("scrolling by pages");
    whole.print("scrolling end to end");
    return std::max(pages.longest(), whole.longest()) < kScrollBound;
}

bool glide(Page &page) {
    IKImageFlowView &flow = page.flow();
    Turns frames;
    for (int i = 0; i < 40; ++i) {
        const int target = static_cast<int>(static_cast<qint64>(flow.numberOfItems()) * (i % 2 ? i : 40 - i) / 41);
        frames.add(turn([&] { flow.setSelectedIndex(i % 4 ? flow.selectedIndex() + 3 : target); }));
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < IKImageFlowView::kGlideMilliseconds + 50) {
            QThread::usleep(500);
            frames.add(turn([] {}));
        }
    }
    frames.print("gliding along the covers");
    return frames.longest() < kGlideBound;
}

/// As the list's menu does once its question was answered.
void postDeletion(const SongArray &songs) {
    NotificationCenter::defaultCenter().postNotification("DeleteNotification", true,
                                                         {{"SongArray", QVariant::fromValue(songs)}});
}

void change(Page &page, int tracks) {
    Turns sorting, keys, recorded, removed;
    for (int i = 0; i < 6; ++i)
        sorting.add(turn([&] { emit page.table().headerView()->sectionClicked(i % 3 + 3); }));
    for (const char *text : {"t", "tr", "tra", "trac", "track 7", "track 77", "track 7", ""})
        keys.add(turn([&] { page.search.setText(text); }));
    rest(300);
    for (int i = 0; i < 20; ++i)
        recorded.add(turn([&, song = Page::track(tracks + i)] { page.library.addNewRecordingSong(song); }));
    for (int i = 0; i < 20; ++i)
        removed.add(turn([&] { postDeletion({page.library.listViewCtr().songArray()->at(i * 31)}); }));
    sorting.print("sorting by a click on a header");
    keys.print("a key in the search field");
    recorded.print("a recording arrives");
    removed.print("a track is deleted");
}

} // namespace

int main(int argc, char **argv) {
    const char *inside = "CORVIDIA_PAGE_BENCH";
    if (!qEnvironmentVariableIsSet(inside)) {
        // The display has to stand before the application that draws on it.
        const QCoreApplication launcher(argc, argv);
        PrivateMachine machine(PrivateSoundServer::Kind::PulseAudio);
        qputenv("HOME", machine.filePath("home").toUtf8());
        if (const QString error = machine.start(); !error.isNull()) {
            std::fprintf(stderr, "page_bench: %s\n", qPrintable(error));
            return 2;
        }
        qputenv(inside, "1");
        return QProcess::execute(QCoreApplication::applicationFilePath(), QCoreApplication::arguments().mid(1));
    }
    const QApplication application(argc, argv);
    const int tracks = argc > 1 ? std::max(std::atoi(argv[1]), 1000) : 100'000;
    setLogSink([](const QString &) {});
    makeCovers();
    bool isKept = true;
    {
        Page page(tracks);
        isKept = scroll(page);
        change(page, tracks);
        std::printf("%-44s %6.1f MiB\n", "memory with the page shown", residentMebibytes(getpid()));
    }
    {
        Page page(10'000);
        isKept = glide(page) && isKept;
    }
    std::printf("Bounds: %s\n", isKept ? "kept" : "MISSED");
    return isKept ? 0 : 1;
}
