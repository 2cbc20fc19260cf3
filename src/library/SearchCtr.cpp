#include "library/SearchCtr.h"

#include "platform/run/LocalizedString.h"
#include "store/TimeAndSizeText.h"
#include "views/library/ListViewCtr.h"
#include "views/library/MyTableView.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QSignalBlocker>

SearchCtr::SearchCtr(SearchCtrDelegate &delegate, const TrackLists &lists, ListViewCtr &list, QLineEdit &searchFeild,
                     const ListButtons &buttons)
    : delegate_(delegate), lists_(lists), listViewCtr_(list), searchFeild_(searchFeild), buttons_(buttons) {
    connect(&searchFeild_, &QLineEdit::textChanged, this, &SearchCtr::controlTextDidChange);
}

bool SearchCtr::isSearching() const { return !searchFeild_.text().isEmpty(); }

void SearchCtr::clear() {
    const QSignalBlocker blocker(this);
    const QSignalBlocker fieldBlocker(&searchFeild_);
    searchFeild_.clear();
}

void SearchCtr::controlTextDidChange() {
    listViewCtr_.setSongArray(lists_.search(delegate_.categoryArray(), searchFeild_.text()));
    listViewCtr_.reloadData();
    listViewCtr_.setImageFlowSelectedIndex(0);
    listViewCtr_.tableView()->selectRowIndexes({0});
    listViewCtr_.tableView()->scrollRowToVisible(0);
    updateStatus();
    delegate_.searchDidChange();
}

void SearchCtr::updateStatusWithSongArray(const SongArray &songs) {
    if (songs.isEmpty()) {
        delegate_.displayStatus(QStringLiteral(""));
        return;
    }
    const TrackLists::Summary summary =
        &songs == lists_.allSongArray().get() ? lists_.summaryOfAll() : TrackLists::summaryOf(songs);
    delegate_.displayStatus(QStringLiteral("%1 %2, %3, %4")
                                .arg(QString::number(summary.count),
                                     localizedString(summary.count == 1 ? "track" : "tracks"),
                                     ConvertTimeToString(summary.length), ConvertSizeToString(summary.size)));
}

void SearchCtr::showNewRecordStatus() { updateStatusWithSongArray(*lists_.newRecordArray()); }

void SearchCtr::updateStatus() {
    const SongArray &songs = *listViewCtr_.songArray();
    if (delegate_.isDisplayRecordView())
        showNewRecordStatus();
    else
        updateStatusWithSongArray(songs);
    const bool hasRows = !songs.isEmpty();
    buttons_.filterBtn->setEnabled(hasRows);
    buttons_.showInFinderBtn->setEnabled(hasRows);
    buttons_.addToItunesBtn->setEnabled(hasRows && delegate_.canHandOver());
}
