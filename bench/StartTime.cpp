// How long it takes from the start of the program's process to its first window, beside a bare Qt window in the same
// run: until the display shows the window's frame, and until something is drawn in it; and what memory it holds then.
// Medians of ten warm starts each.
//
//   start_time [TRACKS]
//
// Bounds: drawn after at most 150 ms and in 80 MiB, with more than 10,000 tracks in the library after 350 ms. Exits
// with 1 when one is missed.
#include "MadeLibrary.h"
#include "ResidentMemory.h"
#include "demo/PrivateMachine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

constexpr int kStarts = 10;
constexpr int kManyTracks = 10'000;
constexpr double kBoundMilliseconds = 150;
constexpr double kBoundMebibytes = 80;
constexpr double kBoundMillisecondsOfMany = 350;
constexpr int kPatienceMilliseconds = 20'000;
constexpr int kSmallestWindow = 100; // pixels; what is smaller is a helper window

template <typename T>
struct Freed {
    void operator()(T *reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, Freed<T>>;

/// Watches what comes up on the display of the environment.
class Watcher {
public:
    Watcher() : connection_(xcb_connect(nullptr, nullptr)) {
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection_);
        emptyPixel_ = pixel(0, 0);
    }
    ~Watcher() { xcb_disconnect(connection_); }

    bool isConnected() const { return xcb_connection_has_error(connection_) == 0; }

    /// Waits for a window of some size to be mapped.
    bool waitForWindow(const QElapsedTimer &clock) {
        while (clock.elapsed() < kPatienceMilliseconds) {
            while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
                if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY &&
                    findPlace(reinterpret_cast<const xcb_map_notify_event_t &>(*event).window))
                    return true;
            pollfd descriptor{xcb_get_file_descriptor(connection_), POLLIN, 0};
            poll(&descriptor, 1, 100);
        }
        return false;
    }

    /// Waits until the middle of that window no longer shows the empty display.
    bool waitForDrawing(const QElapsedTimer &clock) {
        while (clock.elapsed() < kPatienceMilliseconds) {
            if (pixel(x_, y_) != emptyPixel_)
                return true;
            QThread::usleep(500);
        }
        return false;
    }

    /// Waits until the display is empty again, and forgets what has happened.
    void waitForEmptiness() {
        while (pixel(x_, y_) != emptyPixel_)
            QThread::msleep(5);
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        }
    }

private:
    bool findPlace(xcb_window_t window) {
        const Reply<xcb_get_geometry_reply_t> place{
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr)};
        if (!place || place->width < kSmallestWindow || place->height < kSmallestWindow)
            return false;
        x_ = static_cast<int16_t>(place->x + place->width / 2);
        y_ = static_cast<int16_t>(place->y + place->height / 2);
        return true;
    }

    uint32_t pixel(int16_t x, int16_t y) {
        const Reply<xcb_get_image_reply_t> image{xcb_get_image_reply(
            connection_, xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, x, y, 1, 1, 0xffffff), nullptr)};
        return image ? *reinterpret_cast<const uint32_t *>(xcb_get_image_data(image.get())) : emptyPixel_;
    }

    xcb_connection_t *connection_;
    xcb_window_t root_ = 0;
    uint32_t emptyPixel_ = 0;
    int16_t x_ = 0, y_ = 0;
};

/// A program, its times in milliseconds, and its memory once the window is drawn, MiB.
struct Subject {
    const char *name;
    QString path;
    std::vector<double> shown, drawn, resident;

    bool start(Watcher &watcher) {
        QProcess process;
        endWithParent(process);
        QElapsedTimer clock;
        clock.start();
        process.start(path, QStringList());
        const auto milliseconds = [&] { return static_cast<double>(clock.nsecsElapsed()) * 1e-6; };
        bool isUp = watcher.waitForWindow(clock);
        shown.push_back(milliseconds());
        isUp = isUp && watcher.waitForDrawing(clock);
        drawn.push_back(milliseconds());
        resident.push_back(residentMebibytes(process.processId()));
        QThread::msleep(300); // what the program does once its window is up ends by itself
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished();
        watcher.waitForEmptiness();
        return isUp;
    }
    void print() {
        std::printf("%-10s  shown %6.1f ms   drawn %6.1f ms   (%.1f to %.1f)   %5.1f MiB\n", name, median(shown),
                    median(drawn), *std::min_element(drawn.begin(), drawn.end()),
                    *std::max_element(drawn.begin(), drawn.end()), median(resident));
    }
    void forget() { shown.clear(), drawn.clear(), resident.clear(); }
    static double median(std::vector<double> values) {
        std::sort(values.begin(), values.end());
        return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
    }
};

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const int tracks = argc > 1 ? std::max(std::atoi(argv[1]), 0) : 0;
    PrivateMachine machine(PrivateSoundServer::Kind::PulseAudio);
    qputenv("HOME", machine.filePath("home").toUtf8());
    QString error = machine.start();
    if (error.isNull()) {
        if (tracks > 0)
            makeLibrary(tracks);
        Watcher watcher;
        const QString folder = QCoreApplication::applicationDirPath();
        Subject program{"Corvidia", folder + "/Corvidia", {}, {}, {}};
        Subject bare{"bare Qt", folder + "/bare_window", {}, {}, {}};
        bool isUp = watcher.isConnected() && program.start(watcher) && bare.start(watcher);
        program.forget(); // until here nothing was warm
        bare.forget();
        for (int i = 0; i < kStarts && isUp; ++i)
            isUp = program.start(watcher) && bare.start(watcher);
        if (isUp) {
            program.print();
            bare.print();
            const bool isMany = tracks > kManyTracks;
            const double bound = isMany ? kBoundMillisecondsOfMany : kBoundMilliseconds;
            const bool isKept = Subject::median(program.drawn) <= bound &&
                                (isMany || Subject::median(program.resident) <= kBoundMebibytes);
            std::printf("%d tracks, drawn after at most %.0f ms%s: %s\n", tracks, bound, isMany ? "" : ", 80 MiB",
                        isKept ? "kept" : "MISSED");
            return isKept ? 0 : 1;
        }
        error = "no window came up";
    }
    std::fprintf(stderr, "start_time: %s\n", qPrintable(error));
    return 2;
}
