// What moves on the recording page rests while another window lies over it.
#include "features/LibrarySession.h"

#include <QDir>
#include <QFile>
#include <QThread>
#include <xcb/xcb.h>

namespace {

/// Lies over the whole display.
class OtherWindow {
public:
    OtherWindow() {
        const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(display_.get())).data;
        const uint32_t isUnmanaged = 1;
        xcb_create_window(display_.get(), XCB_COPY_FROM_PARENT, window_, screen.root, 0, 0, screen.width_in_pixels,
                          screen.height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                          XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
        xcb_map_window(display_.get(), window_);
        xcb_flush(display_.get());
    }
    /// Leaves a strip of what is below.
    void moveAside() {
        const uint32_t x = PrivateDesktop::kSize.width() - 200;
        xcb_configure_window(display_.get(), window_, XCB_CONFIG_WINDOW_X, &x);
        xcb_flush(display_.get());
    }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> display_{xcb_connect(nullptr, nullptr),
                                                                          &xcb_disconnect};
    xcb_window_t window_ = xcb_generate_id(display_.get());
};

using CoveredWindow = LibrarySession;

} // namespace

TEST_F(CoveredWindow, RestsUntilItIsSeenAgain) {
    startProgram();
    ASSERT_TRUE(program->startRecording());
    // How often the thread behind the bars, which is woken for each block, has slept so far.
    const auto sleeps = [this] {
        const QString tasks = QStringLiteral("/proc/%1/task/").arg(program->processId());
        for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QByteArray status = [&] {
                QFile file(tasks + task + "/status");
                return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            }();
            if (const qsizetype at = status.indexOf("\nvoluntary_ctxt_switches:"); status.contains("Trans-Thread"))
                return status.mid(status.indexOf(':', at) + 1).simplified().split(' ').first().toInt();
        }
        return -1;
    };
    const auto moves = [&] {
        const int before = sleeps();
        QThread::msleep(400); // four turns
        return sleeps() != before;
    };
    EXPECT_TRUE(waitUntil(moves));
    OtherWindow other;
    EXPECT_TRUE(waitUntil([&] { return !moves(); }));
    other.moveAside();
    EXPECT_TRUE(waitUntil(moves));
}
