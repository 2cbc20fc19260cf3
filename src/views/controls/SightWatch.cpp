#include "views/controls/SightWatch.h"

#include "platform/desktop/CoveredWindows.h"
#include "views/controls/Look.h"

#include <QEvent>
#include <QWidget>
#include <utility>

SightWatch::SightWatch(QWidget &widget) : widget_(widget), isShown_(widget.isVisible()), isInSight_(isShown_) {
    widget.installEventFilter(this);
    connect(&CoveredWindows::shared(), &CoveredWindows::changed, this, &SightWatch::refresh);
    connect(&Look::shared(), &Look::changed, this, &SightWatch::changed);
    if (isShown_)
        watchWindow();
}

bool SightWatch::mayMove() const { return isInSight_ && !Look::shared().isMotionReduced(); }

bool SightWatch::eventFilter(QObject *watched, QEvent *event) {
    // A minimised window hides and shows its widgets as well.
    if (watched == &widget_ && (event->type() == QEvent::Show || event->type() == QEvent::Hide)) {
        isShown_ = event->type() == QEvent::Show;
        if (isShown_)
            watchWindow();
        refresh();
    } else if (watched == window_ && event->type() == QEvent::Expose) {
        isExposed_ = window_->isExposed();
        refresh();
    }
    return false;
}

void SightWatch::watchWindow() {
    QWindow *window = widget_.window()->windowHandle();
    if (!window || window == window_)
        return;
    if (window_)
        window_->removeEventFilter(this);
    window_ = window;
    isExposed_ = true; // it is about to be, and says so when it isn't
    window->installEventFilter(this);
    CoveredWindows::shared().watch(*window);
}

void SightWatch::refresh() {
    const bool isInSight = isShown_ && isExposed_ && !(window_ && CoveredWindows::shared().isCovered(*window_));
    if (std::exchange(isInSight_, isInSight) != isInSight)
        emit changed();
}
