// The views of the library page as the window has them, without the window.
#pragma once

#include "library/LibraryCtr.h"
#include "views/controls/SketchButton.h"
#include "views/controls/TextButton.h"
#include "views/window/LibraryPage.h"
#include "views/window/PlayPanel.h"

#include <QLineEdit>
#include <QPushButton>

struct PageViews {
    LibraryPage page{nullptr};
    SketchButton playBtn{{}, {38, 38}, "Play", /*parent=*/nullptr};
    PlayPanel playPanel{nullptr};
    QLineEdit search;
    QPushButton filter, show, handOver;
    TextButton editBtn{"Info", /*parent=*/nullptr};

    LibraryViews all() { return {page, playBtn, playPanel, search, {&filter, &show, &handOver}, editBtn}; }
};
