// The frame around an editable value: its name in a band at the left, the field beside it.
//
// Threads: main.
#pragma once

#include <QWidget>

class QLineEdit;

class HighlightBox : public QWidget {
    Q_OBJECT
public:
    static constexpr int kBandWidth = 56; // of the name

    /// Takes `field` over. `title` names it to the eye and to a screen reader.
    HighlightBox(const QString &title, QLineEdit *field, QWidget *parent);

    /// Only an editable box answers the mouse.
    void setIsEditable(bool isEditable);
    bool isEditable() const { return isEditable_; }
    void setMouseIn(bool isMouseIn);
    bool isMouseIn() const { return isMouseIn_; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QString title_;
    QLineEdit *field_;
    bool isMouseIn_ = false;
    bool isEditable_ = true;
};
