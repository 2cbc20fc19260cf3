// What the page's menus and badges say.
//
// Threads: main.
#pragma once

#include "library/TrackLists.h"

/// What menus and badges depend on. Outlives its PageControls.
class PageControlsDelegate {
public:
    virtual const QString &category() const = 0;
    virtual const SongArray &shownArray() const = 0;
    virtual bool isSearching() const = 0;
    virtual SongPtr playItem() const = 0;
    virtual bool isPlaying() const = 0;
    virtual const QString &playInCategory() const = 0;
    virtual bool changePlayStatus() = 0;
    virtual bool isRecording() const = 0;
    virtual bool isDisplayRecordView() const = 0;

protected:
    ~PageControlsDelegate() = default;
};

class PageControls {
public:
    PageControls(PageControlsDelegate &delegate, const TrackLists &lists) : delegate_(delegate), lists_(lists) {}

    /// What the menu item that reads `title` is to read now: "Play", "Stop" and "Pause" take turns.
    QString changePlayMenuItem(const QString &title) const;
    /// Whether the item of the Control menu with this title is enabled. Titles are localised.
    bool validateMenuItem(const QString &title) const;
    /// The number in the badge of a row of the tree, counted from its top; 0 for none.
    int badgeCount(int row) const;

private:
    PageControlsDelegate &delegate_;
    const TrackLists &lists_;
};
