// A tab of the toolbar: a drawing with a word under it. The checked one is that of the page shown.
//
// Threads: main.
#pragma once

#include "views/controls/SketchButton.h"

class TabButton : public SketchButton {
    Q_OBJECT
public:
    TabButton(const QString &title, QWidget *parent);

protected:
    // A press asks for the page; whoever shows it sets the state.
    void nextCheckState() override {}
    void paintEvent(QPaintEvent *event) override;
};
