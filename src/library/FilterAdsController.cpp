#include "library/FilterAdsController.h"

#include "library/Filtered.h"
#include "library/TrackLists.h"
#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/UserDefaults.h"
#include "store/TimeAndSizeText.h"
#include "views/dialogs/FilterTable.h"

#include <QLocale>
#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr int kLongestAdvert = 60'000; // milliseconds
constexpr int kFirstThreshold = 1;     // of kThresholds

struct Threshold {
    const char *title;
    int milliseconds;
};
constexpr std::array kThresholds{Threshold{"less than 10 s", 10'000}, Threshold{"less than 20 s", 20'000},
                                 Threshold{"less than 30 s", 30'000}, Threshold{"less than 40 s", 40'000},
                                 Threshold{"less than 1 min", kLongestAdvert}};

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

QString counted(const char *one, const char *many, qsizetype count) {
    return count == 1 ? localizedString(one) : localizedString(many).arg(QLocale().toString(count));
}

} // namespace

FilterAdsController::~FilterAdsController() {
    cancelSearch();
    delete view_.data();
}

void FilterAdsController::setAdverts(const SongArray &songs) {
    adverts_.clear();
    allMusicItems_.clear();
    given_.clear();
    allMusicItems_.reserve(songs.size());
    for (const SongPtr &song : songs) {
        if (song->length() <= kLongestAdvert)
            adverts_.append(std::make_shared<FilterAdsItem>(song));
        allMusicItems_.append(std::make_shared<FilterAdsItem>(song));
        given_.insert(song.get());
    }
}

void FilterAdsController::runModal(QWidget *window) {
    view_ = new FilterView(*this, window);
    view_->setWindowTitle(localizedString("Filter: %1").arg(categoryName_));
    QStringList titles;
    for (const Threshold &threshold : kThresholds)
        titles << localizedString(threshold.title);
    view_->setThresholds(titles, kFirstThreshold);
    view_->setAutoFilter(defaults().boolForKey("AutoFilterMusic"), defaults().integerForKey("AutoFilterTimeInterval"));
    filterChange();
    view_->open();
}

int FilterAdsController::getCurrentFilterType() const {
    const int index = view_ ? view_->threshold() : kFirstThreshold;
    return kThresholds.at(static_cast<size_t>(index)).milliseconds;
}

void FilterAdsController::windowDidClose() {
    cancelSearch();
    delegate_.forgetDeletion();
    for (FilterAdsItems *items : {&adverts_, &allMusicItems_, &duplicateItems_})
        items->clear();
    given_.clear();
    lastRemoval_ = {};
    view_->deleteLater();
    view_.clear();
}

// Short tracks

FilterAdsItems FilterAdsController::arrangedObjects() const {
    const int longest = getCurrentFilterType();
    return filtered(adverts_, [longest](const FilterAdsItemPtr &item) { return item->duration() <= longest; });
}

void FilterAdsController::showShortRows() { view_->table(FilterTab::Short)->setRows(arrangedObjects()); }

void FilterAdsController::filterChange() {
    showShortRows();
    updateButtons();
}

bool FilterAdsController::hasAds() {
    bool isAny = false;
    for (const FilterAdsItemPtr &item : view_->table(FilterTab::Short)->rows()) {
        item->setIsAds(!item->isRetainForAds());
        isAny = isAny || item->isAds();
    }
    return isAny;
}

void FilterAdsController::removeButtonClick() {
    for (const FilterAdsItemPtr &item : std::as_const(adverts_)) {
        item->setIsAds(!item->isRetainForAds());
        item->object()->setIsAds(item->isAds());
    }
    const FilterAdsItems removed =
        filtered(arrangedObjects(), [](const FilterAdsItemPtr &item) { return item->isAds(); });
    noteRemoval(removed);
    removeInArray(adverts_, removed);
    removeInArray(duplicateItems_, removed);
    removeInArray(allMusicItems_, removed);
    refreshDuplicateItemsState();
    showShortRows();
    delegate_.deleteShortFiles();
    if (view_) // a question that stood meanwhile may have outlasted the window
        tellOfRemoval();
}

void FilterAdsController::removeInArray(FilterAdsItems &items, const FilterAdsItems &objectSameWithArray) {
    QSet<int32_t> gone;
    for (const FilterAdsItemPtr &item : objectSameWithArray)
        gone.insert(item->object()->songID());
    items.removeIf([&gone](const FilterAdsItemPtr &item) { return gone.contains(item->object()->songID()); });
}

// Duplicates

void FilterAdsController::didSelectTab(FilterTab tab) {
    cancelSearch();
    refreshDuplicateItemsState();
    if (tab == FilterTab::Duplicate)
        searchForDuplicateSongs();
    filterChange();
}

void FilterAdsController::searchForDuplicateSongs() {
    cancelSearch();
    std::vector<DuplicateCandidate> tracks;
    tracks.reserve(static_cast<size_t>(allMusicItems_.size()));
    for (const FilterAdsItemPtr &item : std::as_const(allMusicItems_))
        tracks.push_back({item->title(), item->artist(), item->duration()});
    DuplicateCandidates candidates(tracks);
    if (candidates.isEmpty())
        logLine("There are not songs!");
    isSearching_ = true;
    ++searches_;
    view_->setSearching(localizedString("Scanning \"%@\" for duplicates...").replace("%@", categoryName_));
    duplicateThread_ = std::jthread([this, candidates = std::move(candidates)](const std::stop_token &stop) {
        performOnMainThread([this, stop, rows = duplicatesAmong(candidates)] {
            if (!stop.stop_requested())
                upstateAfterSearchingDuplicatesFinish(rows);
        });
    });
}

void FilterAdsController::cancelSearch() {
    if (std::exchange(isSearching_, false))
        logLine("结束duplicate线程");
    duplicateThread_ = {}; // waits for its end, some milliseconds; its answer is no longer heard
}

// The list is the one that was searched: it only changes with a search ended.
void FilterAdsController::upstateAfterSearchingDuplicatesFinish(const std::vector<DuplicateRow> &rows) {
    isSearching_ = false;
    duplicateItems_.clear();
    duplicateItems_.reserve(static_cast<qsizetype>(rows.size()));
    for (const DuplicateRow &row : rows) {
        const FilterAdsItemPtr &item = allMusicItems_.at(row.index);
        item->setIsDuplicate(true);
        item->setDontDelete(row.isKept);
        duplicateItems_.append(item);
    }
    isProposal_ = true;
    showDuplicates();
}

void FilterAdsController::showDuplicates() {
    view_->table(FilterTab::Duplicate)->setRows(duplicateItems_);
    view_->setSearching({});
    updateButtons();
}

void FilterAdsController::refreshDuplicateItemsState() {
    for (const FilterAdsItemPtr &item : std::as_const(allMusicItems_)) {
        item->setIsDuplicate(false);
        item->setDontDelete(true);
    }
    duplicateItems_.clear();
    view_->table(FilterTab::Duplicate)->setRows({});
}

bool FilterAdsController::hasWaitingDeleteItem() const {
    return std::ranges::any_of(duplicateItems_, [](const FilterAdsItemPtr &item) { return !item->dontDelete(); });
}

void FilterAdsController::removeDuplicateSongs() {
    const FilterAdsItems removed =
        filtered(duplicateItems_, [](const FilterAdsItemPtr &item) { return !item->dontDelete(); });
    const Panel question{
        QStringLiteral("%1 %2").arg(removed.size()).arg(localizedString("duplicate items will be moved to trash.")),
        {},
        {localizedString("Remove"), localizedString("Cancel")},
        {}};
    if (runPanel(question).button != 0 || !view_)
        return;
    noteRemoval(removed);
    for (const FilterAdsItemPtr &item : removed) {
        SongItem &song = *item->object();
        if (song.isImported())
            lastRemoval_.imported.append(item->object());
        song.setDeleteForDuplicate(true);
        song.setIsImported(false); // all of these go to the Trash, wherever they came from
    }
    for (FilterAdsItems *items : {&duplicateItems_, &allMusicItems_, &adverts_})
        removeInArray(*items, removed);
    showShortRows();
    showDuplicates();
    delegate_.deleteDuplicateFiles();
    for (const FilterAdsItemPtr &item : removed)
        item->object()->setDeleteForDuplicate(false);
    if (view_)
        tellOfRemoval();
}

// Undo

void FilterAdsController::noteRemoval(const FilterAdsItems &removed) {
    lastRemoval_ = {.adverts = adverts_,
                    .allMusicItems = allMusicItems_,
                    .duplicateItems = duplicateItems_,
                    .removed = removed,
                    .imported = {},
                    .search = searches_};
}

void FilterAdsController::tellOfRemoval() {
    view_->setNotice(counted("One track was removed.", "%1 tracks were removed.", lastRemoval_.removed.size()),
                     /*canUndo=*/true);
    updateButtons();
}

void FilterAdsController::undo() {
    Removal removal = std::exchange(lastRemoval_, {});
    for (const SongPtr &song : removal.imported)
        song->setIsImported(true);
    const SongArray restored = delegate_.undoDeletion();
    if (!view_) {
        delegate_.forgetDeletion();
        return;
    }
    const QSet<SongPtr> back(restored.begin(), restored.end());
    QSet<SongPtr> lost;
    for (const FilterAdsItemPtr &item : removal.removed)
        if (!back.contains(item->object()))
            lost.insert(item->object());
    const auto isThere = [&lost](const FilterAdsItemPtr &item) { return !lost.contains(item->object()); };
    adverts_ = filtered(removal.adverts, isThere);
    allMusicItems_ = filtered(removal.allMusicItems, isThere);
    showShortRows();
    if (view_->tab() == FilterTab::Duplicate && (isSearching_ || removal.search != searches_)) {
        refreshDuplicateItemsState();
        searchForDuplicateSongs();
    } else if (view_->tab() == FilterTab::Duplicate) {
        duplicateItems_ = filtered(removal.duplicateItems, isThere);
        showDuplicates();
    }
    view_->setNotice(lost.isEmpty() ? counted("One track is back.", "%1 tracks are back.", restored.size())
                                    : counted("One track can't come back.", "%1 tracks can't come back.", lost.size()),
                     delegate_.canUndoDeletion());
    if (delegate_.canUndoDeletion()) {
        removal.removed.removeIf(isThere);
        lastRemoval_ = std::move(removal); // with room on the disk the rest may come
    }
    updateButtons();
}

// What is shown

void FilterAdsController::didMark(FilterTab tab) {
    if (tab == FilterTab::Duplicate)
        isProposal_ = false;
    updateButtons();
}

void FilterAdsController::updateButtons() {
    view_->setIsRemoveEnabled(view_->tab() == FilterTab::Short ? hasAds() : hasWaitingDeleteItem());
    updateSummary();
}

void FilterAdsController::updateSummary() {
    const FilterTab tab = view_->tab();
    SongArray going;
    for (const FilterAdsItemPtr &item : view_->table(tab)->rows())
        if (!item->isKept(tab))
            going.append(item->object());
    if (going.isEmpty()) {
        view_->setSummary({});
        return;
    }
    QString text = counted("One track goes", "%1 tracks go", going.size());
    if (const QString size = ConvertSizeToString(TrackLists::summaryOf(going).size); !size.isEmpty())
        text += QStringLiteral(", ") + size;
    text += QLatin1Char('.');
    if (tab == FilterTab::Duplicate && isProposal_)
        text += QLatin1Char(' ') + localizedString("Kept: the longest of each song.");
    view_->setSummary(text);
}

void FilterAdsController::playSong(const SongPtr &song) {
    if (!delegate_.playSong(song))
        view_->setNotice(localizedString("The file of \"%1\" is gone.").arg(song->title()),
                         !lastRemoval_.removed.isEmpty());
    playbackDidChange();
}

void FilterAdsController::playbackDidChange() {
    if (view_)
        view_->updateRows();
}

// The automatic filter

void FilterAdsController::setAutomicFilterAction(bool isOn) { defaults().setBool(isOn, "AutoFilterMusic"); }

void FilterAdsController::setFilterTime(int seconds) { defaults().setInteger(seconds, "AutoFilterTimeInterval"); }
