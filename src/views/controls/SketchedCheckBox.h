// A box with a tick, drawn by hand.
//
// Threads: main.
#pragma once

#include <QCheckBox>

/// The side of the box.
inline constexpr int kCheckBoxSize = 16;

/// Draws the box alone, its upper left corner at `place`.
void paintCheckBox(QPainter &painter, const QPointF &place, bool isChecked, bool isEnabled);

class SketchedCheckBox : public QCheckBox {
    Q_OBJECT
public:
    SketchedCheckBox(const QString &title, QWidget *parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint &place) const override { return rect().contains(place); }
    void paintEvent(QPaintEvent *event) override;
};
