// The program's questions as dialogs.
//
// Threads: main.
#pragma once

#include "platform/desktop/Panel.h"

class QWidget;

/// Shows `panel` over `parent`, which may be null, and waits for the answer. A close stands for Escape.
PanelAnswer answerWithDialog(QWidget *parent, const Panel &panel);
