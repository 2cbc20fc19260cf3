// A push button that is a drawing.
//
// Threads: main.
#pragma once

#include "views/controls/KeyboardFocus.h"

#include <QAbstractButton>

class QMenu;

/// The names of a button's drawings. One that is missing is shown as `rest`; where `rest` is a bare sign, a frame of
/// the button's own then tells the state.
struct SketchImages {
    QString rest;
    QString hover;
    QString pressed;
    QString disabled;
};

/// Space and Enter press it. A checkable one is a tab to a screen reader. The keyboard's focus shows as a teal line
/// around the drawing, so the widget is kFocusMargin larger than the drawing on each side.
class SketchButton : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int kFocusMargin = 5;

    /// `imageSize` in logical pixels. `title` names the button to a screen reader.
    SketchButton(const SketchImages &images, const QSize &imageSize, const QString &title, QWidget *parent);

    /// Other drawings and another name, for a button that does something else now.
    void setImages(const SketchImages &images, const QString &title);

    /// What a press opens, for a screen reader to find behind the button. Outlives it.
    void setMenu(QMenu *menu) { menu_ = menu; }
    QMenu *menu() const { return menu_; }

    /// For a drawing with corners: those of the focus line.
    void setFrameRadius(qreal radius) { frameRadius_ = radius; }

    /// The name of the drawing shown now.
    QString shownImage() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    bool isBareSign() const { return images_.hover.isEmpty(); }

    SketchImages images_;
    QSize imageSize_;
    QMenu *menu_ = nullptr;
    qreal frameRadius_ = -1; // of the focus line; below 0 it is drawn as an oval
    KeyboardFocus keyboardFocus_;
};
