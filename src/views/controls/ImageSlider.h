// What the two sliders of the toolbar share: a background, a fill and a knob, drawn by name, and a fraction of the
// width as the value.
//
// Threads: main.
#pragma once

#include "views/controls/KeyboardFocus.h"

#include <QWidget>

class ImageSlider : public QWidget {
    Q_OBJECT
public:
    /// `title` names the slider to a screen reader.
    ImageSlider(const QString &title, QWidget *parent);

    /// The value, 0 to 1.
    virtual double fraction() const = 0;
    /// Whether a hand moves it now.
    virtual bool isHeeded() const = 0;
    /// What an arrow key or a notch of the wheel adds.
    virtual double step() const = 0;
    /// Moves it as keys, the wheel and a screen reader do; beyond its ends it stays at the end.
    void stepTo(double fraction);

    QSize sizeHint() const override { return {120, 24}; }

protected:
    enum class Hand { Press, Drag, Step };
    virtual void moveByHand(double fraction, Hand hand) = 0;
    virtual QString knobImage() const { return btn_; }

    /// Redraws if the knob is to be seen elsewhere now, and tells a screen reader.
    void fractionChanged();

    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

    QString img_;
    QString btn_;
    QString backImg_;

private:
    QRectF knobPlace() const;
    void drawTrack(QPainter &painter, const QString &name) const;

    KeyboardFocus keyboardFocus_;
    int shownKnob_ = -1;   // left edge of the knob, device pixels
    int toldPercent_ = -1; // what a screen reader has heard
};
