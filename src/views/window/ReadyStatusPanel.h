// The clock of the display box.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"

#include <QLabel>
#include <QTimer>

/// Shows a time with digits of equal width. While it shakes it shows a clock at its start instead, whose digits behind
/// the colon blink, unless nobody can see it or the user wants no motion; nothing wakes up then.
class ReadyStatusPanel : public QLabel {
    Q_OBJECT
public:
    explicit ReadyStatusPanel(QWidget *parent);

    /// What is the value already is not drawn again, here and below.
    void setStringValue(const QString &stringValue) { setText(stringValue); }
    QString stringValue() const { return text(); }

    void setShakeEffect(bool isShaking);
    /// Whether it is blinking now: on, in sight, and motion wanted.
    bool isBlinking() const { return timer_.isActive(); }
    /// Every half second while it blinks.
    void readyCaptionShake();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void updateBlinking();
    void drawClock(QPainter &painter, const QString &text) const;

    QTimer timer_;
    bool isShaking_ = false;
    bool isOut_ = false; // the second half of a blink
    SightWatch sight_{*this};
};
