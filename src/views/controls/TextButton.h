// A word that is a push button, in the bar under the pages; it may have a small sign behind it.
//
// Threads: main.
#pragma once

#include "views/controls/KeyboardFocus.h"

#include <QAbstractButton>

class TextButton : public QAbstractButton {
    Q_OBJECT
public:
    TextButton(const QString &text, QWidget *parent);

    /// The names of the sign's drawings, at rest and pressed.
    void setImages(const QString &image, const QString &alternateImage);
    /// The name of the sign shown now.
    QString shownImage() const { return isDown() ? alternateImage_ : image_; }

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
    QString image_;
    QString alternateImage_;
    KeyboardFocus keyboardFocus_;
};
