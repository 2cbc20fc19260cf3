// A sheet with a sketched edge, on which other things lie.
//
// Threads: main.
#pragma once

#include <QWidget>

class SketchedSheet : public QWidget {
    Q_OBJECT
public:
    /// `margin` to its edge, whose corners have `radius`.
    SketchedSheet(qreal margin, qreal radius, QWidget *parent) : QWidget(parent), margin_(margin), radius_(radius) {}

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    qreal margin_;
    qreal radius_;
};
