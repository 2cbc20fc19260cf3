// The toolbar's controls as keyboard and mouse meet them.
#include "support/Gestures.h"
#include "views/controls/SketchButton.h"
#include "views/window/MainWindowView.h"

#include <gtest/gtest.h>

TEST(SketchButton, ShowsItsStateAndIsPressedByTheKeyboard) {
    SketchButton button({.rest = "cut", .hover = "cut-hover", .pressed = "cut-down", .disabled = "cut-disabled"},
                        {38, 38}, "Cut", /*parent=*/nullptr);
    int clicks = 0;
    QObject::connect(&button, &SketchButton::clicked, &button, [&] { ++clicks; });
    EXPECT_EQ(button.shownImage(), "cut");
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
        press(button, key);
    EXPECT_EQ(clicks, 3);

    button.setEnabled(false);
    EXPECT_EQ(button.shownImage(), "cut-disabled");
    press(button, Qt::Key_Return);
    EXPECT_EQ(clicks, 3);

    button.setImages(recorderStopImages(), "Stop");
    EXPECT_EQ(button.shownImage(), "Recorder_Stop_On"); // it has no drawing for being disabled
    EXPECT_EQ(button.accessibleName(), "Stop");
}
