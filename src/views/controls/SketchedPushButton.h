// A push button with a title in a sketched frame.
//
// Threads: main.
#pragma once

#include <QPushButton>

/// The default one has the teal frame and the heavier letters.
class SketchedPushButton : public QPushButton {
    Q_OBJECT
public:
    SketchedPushButton(const QString &title, bool isDefault, QWidget *parent);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
