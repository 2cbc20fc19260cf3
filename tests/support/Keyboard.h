// Keys as a hand presses them, at the display of the environment.
#pragma once

#include <QStringList>

/// Waits until the program shows `count` windows and gives the keyboard to the topmost, as a window manager would.
bool focusTopmostOf(int count);
/// In the words of xdotool, such as "ctrl+f".
void pressKeys(const QStringList &keys);
void typeText(const QString &text);
