// The clock of the display box.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QTimer>

/// Shows a time with digits of equal width. While it shakes it breathes between ink and soft, unless it is hidden or
/// the user wants no motion; nothing wakes up then.
class ReadyStatusPanel : public QLabel {
    Q_OBJECT
public:
    explicit ReadyStatusPanel(QWidget *parent);

    void setStringValue(const QString &stringValue) { setText(stringValue); }
    QString stringValue() const { return text(); }

    void setShakeEffect(bool isShaking);
    /// Whether it is blinking now: on, visible, and motion wanted.
    bool isBlinking() const { return timer_.isActive(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void updateBlinking(bool isShown);

    QTimer timer_;
    bool isShaking_ = false;
    bool isPale_ = false; // the second half of a blink
};
