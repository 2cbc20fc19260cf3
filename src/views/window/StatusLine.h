// The bar under the pages with its one line of text.
//
// Threads: main.
#pragma once

#include <QLabel>

class StatusLine : public QLabel {
    Q_OBJECT
public:
    static constexpr int kHeight = 24;

    explicit StatusLine(QWidget *parent);

    /// A null text clears the line. One that is too long is shortened at its end.
    void setStatus(const QString &status) { setText(status); }
    QString status() const { return text(); }
    /// The room that the buttons at the ends of the bar take: the text stays in the middle and off them.
    void setEnds(int left, int right);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int leftEnd_ = 0;
    int rightEnd_ = 0;
};
