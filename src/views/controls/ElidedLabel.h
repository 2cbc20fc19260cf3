// One line of plain text that is shortened at its end where it is too long; its tool tip then shows the whole.
//
// Threads: main.
#pragma once

#include <QLabel>

class ElidedLabel : public QLabel {
    Q_OBJECT
public:
    ElidedLabel(const QFont &font, QWidget *parent);

    /// Line breaks and the like become blanks, and of an endless text only the beginning is kept.
    void setStringValue(const QString &stringValue);
    /// What is drawn.
    QString shownText() const { return shownText_; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void shorten();

    QString shownText_;
};
