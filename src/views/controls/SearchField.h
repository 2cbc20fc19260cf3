// The search field of the toolbar: a sketched field with a magnifying glass and a cross that clears it.
//
// Threads: main.
#pragma once

#include <QLineEdit>

class SketchButton;

/// Escape clears it; where there is nothing to clear, Escape is left to the window.
class SearchField : public QLineEdit {
    Q_OBJECT
public:
    explicit SearchField(QWidget *parent);

    QSize sizeHint() const override { return {140, 26}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;

private:
    SketchButton *clearBtn_;
};
