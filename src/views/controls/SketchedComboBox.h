// A choice out of a list that drops down, in a sketched frame.
//
// Threads: main.
#pragma once

#include <QComboBox>

class SketchedComboBox : public QComboBox {
    Q_OBJECT
public:
    explicit SketchedComboBox(QWidget *parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    void showPopup() override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
