// The scroll bar of every list: a thin rounded line, without arrows.
//
// Threads: main.
#pragma once

#include <QScrollBar>

class CustomizeScroller : public QScrollBar {
    Q_OBJECT
public:
    static constexpr int kThickness = 8;

    CustomizeScroller(Qt::Orientation orientation, QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
