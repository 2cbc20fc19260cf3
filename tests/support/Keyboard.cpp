#include "support/Keyboard.h"

#include "demo/RunningProgram.h"
#include "support/OtherProgram.h"

#include <QString>
#include <gtest/gtest.h>

bool focusTopmostOf(int count) {
    QStringList windows;
    const bool areShown = waitUntil([&] {
        const std::string found =
            outputOf("xdotool", {"search", "--onlyvisible", "--name", "^(Tessarine Corvidia|Import Local Audio)$"});
        windows = QString::fromStdString(found).split('\n', Qt::SkipEmptyParts);
        return windows.size() == count;
    });
    return areShown && outputOf("xdotool", {"windowfocus", "--sync", windows.last()}).empty();
}

void pressKeys(const QStringList &keys) { EXPECT_EQ(outputOf("xdotool", QStringList("key") + keys), ""); }

void typeText(const QString &text) { EXPECT_EQ(outputOf("xdotool", {"type", text}), ""); }
