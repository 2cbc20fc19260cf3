#include "views/controls/SketchButton.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>

namespace {

/// Qt's own would turn a tab's check mark where it has to be pressed, and knows no menu behind a drawing.
class SketchButtonAccessible : public QAccessibleWidget {
public:
    explicit SketchButtonAccessible(SketchButton *button) : QAccessibleWidget(button) {}

    // Asked for before the button is all that it will be.
    QAccessible::Role role() const override {
        return button().menu()          ? QAccessible::ButtonMenu
               : button().isCheckable() ? QAccessible::PageTab
                                        : QAccessible::Button;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.selectable = role() == QAccessible::PageTab;
        state.selected = button().isChecked();
        state.pressed = button().isDown();
        return state;
    }
    int childCount() const override { return button().menu() ? 1 : 0; }
    QAccessibleInterface *child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(button().menu()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return child && button().menu() && child->object() == button().menu() ? 0 : -1;
    }
    QStringList actionNames() const override {
        return (button().isEnabled() ? QStringList(pressAction()) : QStringList()) + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &actionName) override {
        if (actionName == pressAction())
            button().animateClick(); // and answers before whatever the press leads to
        else
            QAccessibleWidget::doAction(actionName);
    }

private:
    SketchButton &button() const { return *static_cast<SketchButton *>(widget()); }
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *button = qobject_cast<SketchButton *>(object);
    return button ? new SketchButtonAccessible(button) : nullptr;
}

} // namespace

SketchButton::SketchButton(const SketchImages &images, const QSize &imageSize, const QString &title, QWidget *parent)
    : QAbstractButton(parent), imageSize_(imageSize) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setImages(images, title);
    resize(SketchButton::sizeHint());
}

void SketchButton::setImages(const SketchImages &images, const QString &title) {
    images_ = images;
    setAccessibleName(title);
    update();
}

QString SketchButton::shownImage() const {
    QString image;
    if (!isEnabled())
        image = images_.disabled;
    else if (isDown())
        image = images_.pressed;
    else if (underMouse())
        image = images_.hover;
    return image.isEmpty() ? images_.rest : image;
}

QSize SketchButton::sizeHint() const { return imageSize_ + 2 * QSize(kFocusMargin, kFocusMargin); }

void SketchButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outline = QRectF(rect()).adjusted(1, 1, -1, -1);
    const qreal radius = isBareSign() ? 8 : frameRadius_ < 0 ? outline.height() / 2 : frameRadius_;
    if (isBareSign() && isEnabled() && (isDown() || underMouse())) {
        painter.setPen(sketchPen(lookColour(isDown() ? LookColour::Ink : LookColour::Line)));
        painter.setBrush(lookColour(isDown() ? LookColour::Paper : LookColour::Sheet));
        painter.drawPath(sketchedRect(outline.adjusted(2, 2, -2, -2), radius));
    }
    painter.drawPixmap(kFocusMargin, kFocusMargin, imageNamed(shownImage(), imageSize_, devicePixelRatioF()));
    if (keyboardFocus_.isShown()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal)));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(outline, radius));
    }
}

void SketchButton::keyPressEvent(QKeyEvent *event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}

void SketchButton::focusInEvent(QFocusEvent *event) {
    keyboardFocus_.focusIn(*event);
    QAbstractButton::focusInEvent(event);
}

void SketchButton::focusOutEvent(QFocusEvent *event) {
    keyboardFocus_.focusOut(*event);
    QAbstractButton::focusOutEvent(event);
}

void SketchButton::mousePressEvent(QMouseEvent *event) {
    keyboardFocus_.mousePressed();
    QAbstractButton::mousePressEvent(event);
}

void SketchButton::enterEvent(QEnterEvent *event) {
    update();
    QAbstractButton::enterEvent(event);
}

void SketchButton::leaveEvent(QEvent *event) {
    update();
    QAbstractButton::leaveEvent(event);
}
