#include "demo/FrameCamera.h"

#include <QDir>
#include <QImage>
#include <QRect>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr int kFastPng = 80; // compressed little: the next picture is due soon

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <typename T>
Reply<T> owned(T *reply) {
    return {reply, &std::free};
}

/// Where the largest visible window stands; empty if there is none.
QRect largestWindow(xcb_connection_t *display, xcb_window_t root) {
    QRect largest;
    const auto tree = owned(xcb_query_tree_reply(display, xcb_query_tree(display, root), nullptr));
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
        const auto state =
            owned(xcb_get_window_attributes_reply(display, xcb_get_window_attributes(display, window), nullptr));
        const auto place = owned(xcb_get_geometry_reply(display, xcb_get_geometry(display, window), nullptr));
        if (!state || !place || state->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        const QRect rect(place->x, place->y, place->width, place->height);
        if (rect.width() * rect.height() > largest.width() * largest.height())
            largest = rect;
    }
    return largest;
}

QImage picture(xcb_connection_t *display, const xcb_screen_t &screen) {
    const QRect place =
        largestWindow(display, screen.root).intersected(QRect(0, 0, screen.width_in_pixels, screen.height_in_pixels));
    if (place.isEmpty())
        return {};
    const auto cookie = xcb_get_image(display, XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root, static_cast<int16_t>(place.x()),
                                      static_cast<int16_t>(place.y()), static_cast<uint16_t>(place.width()),
                                      static_cast<uint16_t>(place.height()), ~0U);
    const auto image = owned(xcb_get_image_reply(display, cookie, nullptr));
    if (!image || xcb_get_image_data_length(image.get()) < place.width() * place.height() * 4)
        return {};
    return QImage(xcb_get_image_data(image.get()), place.width(), place.height(), QImage::Format_RGB32).copy();
}

} // namespace

FrameCamera::FrameCamera(const QString &folder) : folder_(folder), thread_([this] { run(); }) {}

FrameCamera::~FrameCamera() { stop(); }

QString FrameCamera::stop() {
    {
        const std::lock_guard guard(mutex_);
        isOver_ = true;
    }
    end_.notify_one();
    if (thread_.joinable())
        thread_.join();
    return error_;
}

bool FrameCamera::isOver(std::chrono::steady_clock::time_point until) {
    std::unique_lock guard(mutex_);
    return end_.wait_until(guard, until, [this] { return isOver_; });
}

void FrameCamera::run() {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> display(xcb_connect(nullptr, nullptr),
                                                                               &xcb_disconnect);
    error_ = QStringLiteral("no picture of the window could be taken");
    if (xcb_connection_has_error(display.get()))
        return;
    const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(display.get())).data;
    auto due = std::chrono::steady_clock::now();
    for (int number = 0; !isOver(due); due += kInterval) {
        const QImage image = picture(display.get(), screen);
        if (image.isNull())
            continue;
        const QString path = QDir(folder_).filePath(QStringLiteral("%1.png").arg(number++, 3, 10, QLatin1Char('0')));
        error_ = image.save(path, "PNG", kFastPng) ? QString() : path + " cannot be written";
        if (!error_.isNull())
            return;
    }
}
