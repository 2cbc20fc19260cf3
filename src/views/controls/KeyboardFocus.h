// Whether a control shows the line that tells where the keyboard is: only where the keyboard brought the focus.
//
// Threads: main.
#pragma once

#include <QFocusEvent>

class KeyboardFocus {
public:
    bool isShown() const { return isShown_; }

    void focusIn(const QFocusEvent &event) {
        if (!isWindowsOwn(event))
            isShown_ = event.reason() == Qt::TabFocusReason || event.reason() == Qt::BacktabFocusReason ||
                       event.reason() == Qt::ShortcutFocusReason;
    }
    void focusOut(const QFocusEvent &event) {
        if (!isWindowsOwn(event))
            isShown_ = false;
    }
    void mousePressed() { isShown_ = false; }

private:
    // A window that becomes active again gives back the focus as it was.
    static bool isWindowsOwn(const QFocusEvent &event) {
        return event.reason() == Qt::ActiveWindowFocusReason || event.reason() == Qt::PopupFocusReason;
    }

    bool isShown_ = false;
};
