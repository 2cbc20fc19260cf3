// The search field, which narrows the shown category with every keystroke, and what the status line tells of a list.
//
// Threads: main.
#pragma once

#include "library/TrackLists.h"

#include <QObject>

class ListViewCtr;
class QAbstractButton;
class QLineEdit;

/// The buttons under the list, which work on its tracks.
struct ListButtons {
    QAbstractButton *filterBtn = nullptr;
    QAbstractButton *showInFinderBtn = nullptr;
    QAbstractButton *addToItunesBtn = nullptr;
};

/// What the search asks for, and what it tells. Outlives its SearchCtr.
class SearchCtrDelegate {
public:
    /// The array of the shown category, sorted as the list shows it.
    virtual SharedSongArray categoryArray() = 0;
    virtual bool isDisplayRecordView() const { return false; }
    /// Whether there is something behind the button.
    virtual bool canHandOver() const { return false; }
    virtual void displayStatus([[maybe_unused]] const QString &status) {}
    /// The list shows other tracks.
    virtual void searchDidChange() {}

protected:
    ~SearchCtrDelegate() = default;
};

class SearchCtr final : public QObject {
    Q_OBJECT
public:
    SearchCtr(SearchCtrDelegate &delegate, const TrackLists &lists, ListViewCtr &list, QLineEdit &searchFeild,
              const ListButtons &buttons);

    /// Whether a search text is entered, blanks included: the list then shows an array of its own.
    bool isSearching() const;
    /// Empties the field; the list is somebody else's matter then.
    void clear();
    QLineEdit &searchFeild() const { return searchFeild_; }

    /// Runs the search with the field's text as it is.
    void controlTextDidChange();
    /// Status text and buttons for the page that is shown.
    void updateStatus();
    /// Tells of the tracks recorded in this run.
    void showNewRecordStatus();

private:
    void updateStatusWithSongArray(const SongArray &songs);

    SearchCtrDelegate &delegate_;
    const TrackLists &lists_;
    ListViewCtr &listViewCtr_;
    QLineEdit &searchFeild_;
    ListButtons buttons_;
};
