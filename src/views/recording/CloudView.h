// The cloud behind the scene, and the microphone's cable.
//
// Threads: main.
#pragma once

#include <QWidget>

class CloudView : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QPixmap cloud_; // as shown last; null when it is to be drawn anew
};
