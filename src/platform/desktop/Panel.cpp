#include "platform/desktop/Panel.h"

#include "platform/run/Log.h"

namespace {
PanelAnswerer currentAnswerer;
}

void setPanelAnswerer(PanelAnswerer answerer) { currentAnswerer = std::move(answerer); }

PanelAnswer runPanel(const Panel &panel) {
    if (currentAnswerer)
        return currentAnswerer(panel);
    logLine(panel.text.trimmed().isEmpty() ? panel.message : panel.message + ": " + panel.text);
    return {static_cast<int>(panel.buttons.size()) - 1, false};
}
