#include "views/library/CustomWindow.h"

#include "platform/desktop/ImageNamed.h"
#include "views/library/MyMenuViewController.h"

#include <QApplication>
#include <QBitmap>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

namespace {

bool isModifier(int key) {
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt || key == Qt::Key_Meta ||
           key == Qt::Key_AltGr;
}

/// A press as another window hears it. A copy, and not sent by sendEvent(), since only what counts as the user's own
/// press gives a widget the keyboard.
class PassedPress : public QMouseEvent {
public:
    PassedPress(const QMouseEvent &press, const QWindow &window) : QMouseEvent(press) {
        m_points = QMouseEvent(type(), window.mapFromGlobal(press.globalPosition()), press.globalPosition(), button(),
                               buttons(), modifiers(), pointingDevice())
                       .points();
    }
};

} // namespace

CustomWindow::CustomWindow(QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint) {
    setAttribute(Qt::WA_TranslucentBackground);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive)
            endFakeMenu();
    });
}

void CustomWindow::setViewCtr(MyMenuViewController *viewCtr) {
    viewCtr_ = viewCtr;
    setFocusProxy(viewCtr);
}

void CustomWindow::fitToView() {
    viewCtr_->showView();
    resize(viewCtr_->windowSize());
}

void CustomWindow::setFrameTopLeftPoint(const QPoint &point) {
    const QScreen *screen = QGuiApplication::screenAt(point);
    const QRect free = (screen ? screen : parentWidget()->screen())->availableGeometry();
    QRect frame(point, size());
    frame.moveRight(qMin(frame.right(), free.right()));
    frame.moveBottom(qMin(frame.bottom(), free.bottom()));
    frame.moveLeft(qMax(frame.left(), free.left()));
    frame.moveTop(qMax(frame.top(), free.top()));
    move(frame.topLeft());
}

void CustomWindow::beginFakeMenu() {
    qApp->installEventFilter(this);
    isOpen_ = true;
    show();
    viewCtr_->setFocus(Qt::PopupFocusReason);
}

void CustomWindow::endFakeMenu() {
    if (!std::exchange(isOpen_, false))
        return;
    qApp->removeEventFilter(this);
    viewCtr_->setSelectedMenuItemIndex(-1);
    close();
}

// What goes to other windows of the program is seen here on its way.
bool CustomWindow::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::KeyPress && watched->isWidgetType() &&
        !qobject_cast<CustomWindow *>(static_cast<QWidget *>(watched)->window()))
        endFakeMenu();
    if (event->type() != QEvent::MouseButtonPress && event->type() != QEvent::MouseButtonDblClick)
        return false;
    const auto &press = *static_cast<const QMouseEvent *>(event);
    if (geometry().contains(press.globalPosition().toPoint()))
        return false;
    endFakeMenu();
    QWindow *window = QGuiApplication::topLevelAt(press.globalPosition().toPoint());
    if (watched != windowHandle() || !window)
        return false;
    // The popup held the mouse, so that the window under the pointer heard nothing. It hears it before the release.
    PassedPress passed(press, *window);
    qApp->notify(window, &passed);
    return true;
}

void CustomWindow::paintFrame(QPainter &painter, qreal devicePixelRatio) const {
    const QSize top = imageNamed(viewCtr_->frameImage("top")).size();
    const QSize bottom = imageNamed(viewCtr_->frameImage("bottom")).size();
    const QSize middle(width(), height() - top.height() - bottom.height());
    painter.drawPixmap(0, 0, imageNamed(viewCtr_->frameImage("top"), top, devicePixelRatio));
    painter.drawPixmap(0, top.height(), imageNamed(viewCtr_->frameImage("middle"), middle, devicePixelRatio));
    painter.drawPixmap(0, height() - bottom.height(),
                       imageNamed(viewCtr_->frameImage("bottom"), bottom, devicePixelRatio));
}

void CustomWindow::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    paintFrame(painter, devicePixelRatioF());
}

// Where nobody composes windows the mask cuts out what would be black.
void CustomWindow::resizeEvent(QResizeEvent *event) {
    QPixmap shape(size());
    shape.fill(Qt::transparent);
    QPainter painter(&shape);
    paintFrame(painter, /*devicePixelRatio=*/1);
    painter.end();
    setMask(shape.mask());
    QWidget::resizeEvent(event);
}

void CustomWindow::hideEvent(QHideEvent *event) {
    endFakeMenu();
    QWidget::hideEvent(event);
}

void CustomWindow::keyPressEvent(QKeyEvent *event) {
    if (isModifier(event->key()))
        return;
    endFakeMenu();
    if (event->key() != Qt::Key_Escape)
        QApplication::sendEvent(parentWidget(), event);
}

void CustomWindow::wheelEvent(QWheelEvent *event) {
    if (!rect().contains(event->position().toPoint()))
        endFakeMenu();
}
