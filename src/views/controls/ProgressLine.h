// A progress bar drawn as a thin line that fills.
//
// Threads: main.
#pragma once

#include <QProgressBar>

class ProgressLine : public QProgressBar {
    Q_OBJECT
public:
    explicit ProgressLine(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
