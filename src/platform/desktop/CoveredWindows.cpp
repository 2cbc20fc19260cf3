#include "platform/desktop/CoveredWindows.h"

#include <QGuiApplication>
#include <QPointer>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

CoveredWindows &CoveredWindows::shared() {
    static QPointer<CoveredWindows> windows;
    if (!windows)
        windows = new CoveredWindows(qApp);
    return *windows;
}

CoveredWindows::CoveredWindows(QObject *parent) : QObject(parent) { qApp->installNativeEventFilter(this); }

void CoveredWindows::watch(const QWindow &window) {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || QGuiApplication::platformName() != "xcb")
        return; // others have the interface, but windows of another kind
    // To what the toolkit listens to already.
    xcb_connection_t *connection = x11->connection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    const std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&std::free)> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, id), nullptr), &std::free);
    if (!attributes)
        return;
    const uint32_t mask = attributes->your_event_mask | XCB_EVENT_MASK_VISIBILITY_CHANGE;
    xcb_change_window_attributes(connection, id, XCB_CW_EVENT_MASK, &mask);
}

bool CoveredWindows::nativeEventFilter(const QByteArray &eventType, void *message, [[maybe_unused]] qintptr *result) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != XCB_VISIBILITY_NOTIFY)
        return false;
    const auto *visibility = reinterpret_cast<const xcb_visibility_notify_event_t *>(event);
    const auto before = covered_.size();
    if (visibility->state == XCB_VISIBILITY_FULLY_OBSCURED)
        covered_.insert(visibility->window);
    else
        covered_.remove(visibility->window);
    if (covered_.size() != before)
        emit changed();
    return false;
}
