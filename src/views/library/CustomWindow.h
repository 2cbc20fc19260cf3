// A small window that behaves like a menu: the popup menu of a track, and its second level.
//
// Threads: main.
#pragma once

#include <QWidget>

class MyMenuViewController;

/// Open or closed; closed windows are kept and open again.
class CustomWindow : public QWidget {
    Q_OBJECT
public:
    /// What is typed and means nothing here goes to `parent`.
    explicit CustomWindow(QWidget *parent);

    /// The rows; a child of this window.
    void setViewCtr(MyMenuViewController *viewCtr);
    MyMenuViewController *viewCtr() const { return viewCtr_; }
    /// Takes on the size of its rows.
    void fitToView();
    /// On the screen; moved as far as the screen's edges ask for.
    void setFrameTopLeftPoint(const QPoint &point);

    bool isOpen() const { return isOpen_; }
    /// A click or a key anywhere else closes it, and does its work there all the same.
    void beginFakeMenu();
    void endFakeMenu();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void paintFrame(QPainter &painter, qreal devicePixelRatio) const;

    MyMenuViewController *viewCtr_ = nullptr;
    bool isOpen_ = false;
};
