// Questions to the user, as data. Who answers them is set by the program's start: dialogs, or a script in tests.
//
// Threads: main.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

struct Panel {
    QString message;     ///< the question, in bold
    QString text;        ///< the explanation below it; may be empty
    QStringList buttons; ///< at least one; the first is the default, the last is taken for Escape and for a close
    QString suppression; ///< title of a "do not ask again" box; empty for none
};

struct PanelAnswer {
    int button = 0; ///< index into Panel::buttons
    bool suppressed = false;
};

using PanelAnswerer = std::function<PanelAnswer(const Panel &)>;

/// Sets who answers further panels.
void setPanelAnswerer(PanelAnswerer answerer);

/// Shows `panel` and waits for the answer; events are handled meanwhile. Where nobody can answer, the panel goes to
/// the log and its last button is the answer.
PanelAnswer runPanel(const Panel &panel);
