#include "views/library/ListViewCtr.h"

#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "views/controls/Look.h"
#include "views/library/CustomWindow.h"
#include "views/library/DroppedFiles.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TrackTableModel.h"

#include <QApplication>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QVBoxLayout>
#include <algorithm>

namespace {

constexpr int kImageFlowHeight = 170;
constexpr int kFrameInterval = 200; // ms
constexpr int kFrames = 6;
constexpr qsizetype kShownTitleLength = 200;
constexpr const char *kSortKey = "LibrarySort"; // a key of a track; a minus before it stands for descending

int g_ImageIndex = 0; // the frame of the busy pictures, of all lists

bool isBusy(const SongPtr &song) {
    const auto status = static_cast<ID3Status>(song->getID3Status());
    return status == ID3Status::Searching || status == ID3Status::FetchingCover || status == ID3Status::Reserved;
}

} // namespace

ListViewCtr::ListViewCtr(ListViewCtrDelegate &delegate)
    : delegate_(delegate),
      view_(new QWidget),
      imageFlowView_(new IKImageFlowView(view_)),
      tableView_(new MyTableView(view_)),
      menu_(new QMenu(tableView_)) {
    menu_->setLayoutDirection(QGuiApplication::layoutDirection());
    auto *layout = new QVBoxLayout(view_);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(imageFlowView_);
    layout->addWidget(tableView_, 1);
    imageFlowView_->setFixedHeight(kImageFlowHeight);
    imageFlowView_->setDataSource(this);
    imageFlowView_->setDelegate(this);
    tableView_->setDelegate(this);
    view_->installEventFilter(this);
    timer_.setInterval(kFrameInterval);
    connect(&timer_, &QTimer::timeout, this, &ListViewCtr::changeImage);
    connect(&Look::shared(), &Look::changed, this, &ListViewCtr::updateTimer);
    makeMenu();
}

ListViewCtr::~ListViewCtr() { delete view_; }

void ListViewCtr::setSongArray(SharedSongArray songs) {
    marrSongs_ = songs ? std::move(songs) : std::make_shared<SongArray>();
    tableView_->trackModel()->setSongArray(marrSongs_);
}

const SharedSongArray &ListViewCtr::songArray() const { return marrSongs_; }

void ListViewCtr::setEmptyText(const QString &text, const QString &picture) { tableView_->setEmptyText(text, picture); }

void ListViewCtr::reloadData() {
    mouseMovedToRow(-1);
    imageFlowView_->reloadData();
    tableView_->reloadData();
}

void ListViewCtr::reloadTable() { tableView_->reloadData(); }

void ListViewCtr::reloadAndSort() {
    if (!tableView_->sortDescriptors().isEmpty())
        sortUsingDescriptors(*marrSongs_, {tableView_->sortDescriptors().first()});
    tableView_->reloadData();
}

void ListViewCtr::updateTrackingAreas() { reloadData(); }

void ListViewCtr::setImageFlowSelectedIndex(int index) { imageFlowView_->setSelectedIndex(index); }

SongArray ListViewCtr::selectedSongs() const {
    SongArray songs;
    for (const int row : tableView_->selectedRowIndexes())
        if (SongPtr song = marrSongs_->value(row))
            songs.append(std::move(song));
    return songs;
}

SongPtr ListViewCtr::firstSelectedSong() const { return marrSongs_->value(tableView_->selectedRow()); }

// Sorting

void ListViewCtr::setIsCanSorted(bool isCanSorted) {
    isCanSorted_ = isCanSorted;
    tableView_->setIsCanSorted(isCanSorted);
}

QList<SortDescriptor> ListViewCtr::rememberedSortArray() {
    QString key = UserDefaults::standardUserDefaults().stringForKey(QString::fromLatin1(kSortKey));
    const bool isDescending = key.startsWith('-');
    if (isDescending)
        key.remove(0, 1);
    for (const TrackColumn &column : kTrackColumns)
        if (column.sortKey && key == QLatin1String(column.sortKey))
            return {{.key = key, .ascending = !isDescending, .comparison = column.comparison}};
    return {};
}

// The selection stays with its tracks, wherever they go.
void ListViewCtr::sortDescriptorsDidChange() {
    const QList<SortDescriptor> descriptors = tableView_->sortDescriptors();
    if (descriptors.isEmpty() || !isCanSorted_)
        return;
    const SongArray selected = selectedSongs();
    const SortDescriptor &first = descriptors.first();
    sortArray_ = {first};
    UserDefaults::standardUserDefaults().setObject(first.ascending ? first.key : '-' + first.key,
                                                   QString::fromLatin1(kSortKey));
    tableView_->headerView()->setIsTimeColumnSorted(first.key == QLatin1String("length"));
    sortUsingDescriptors(*marrSongs_, sortArray_);
    isNeedChangeTableViewSelected_ = false;
    reloadData();

    QHash<const SongItem *, int> places;
    for (qsizetype i = 0; i < marrSongs_->size(); ++i)
        places.insert(marrSongs_->at(i).get(), static_cast<int>(i));
    QList<int> rows;
    for (const SongPtr &song : selected)
        if (const auto place = places.constFind(song.get()); place != places.cend())
            rows.append(*place);
    isNeedChangeTableViewSelected_ = false;
    tableView_->selectRowIndexes(rows);
    if (tableView_->selectedRow() >= 0)
        tableView_->scrollRowToVisible(tableView_->selectedRow());
    isNeedChangeTableViewSelected_ = true; // where the first selected row stayed, the flow had nothing to echo
}

// Table and cover flow stay together

void ListViewCtr::tableViewSelectionDidChange() {
    delegate_.selectedDidChange();
    updateMenuButton();
    const int row = tableView_->selectedRow();
    if (row < 0 || imageFlowView_->selectedIndex() == row)
        return;
    if (tableView_->selectedRowIndexes().size() > 1)
        isNeedChangeTableViewSelected_ = false;
    imageFlowView_->setSelectedIndex(row);
}

int ListViewCtr::numberOfItemsInImageFlow(IKImageFlowView &) const { return static_cast<int>(marrSongs_->size()); }

SongPtr ListViewCtr::itemAtIndex(IKImageFlowView &, int index) const { return marrSongs_->value(index); }

void ListViewCtr::didSelectItemAtIndex(IKImageFlowView &, int index) {
    if (index < 0 || index >= marrSongs_->size())
        return;
    if (std::exchange(isNeedChangeTableViewSelected_, true)) {
        tableView_->selectRowIndexes({index});
        tableView_->scrollRowToVisible(index);
    }
}

// Whoever plays goes by the selected row, which a click with Ctrl may have taken back.
void ListViewCtr::cellWasDoubleClickedAtIndex(IKImageFlowView &, int index) {
    if (tableView_->selectedRow() < 0)
        tableView_->selectRowIndexes({index});
    doubleAction();
}

// Rows

QString ListViewCtr::imageForRow(int row, int column, bool isSelected) {
    const SongPtr song = marrSongs_->value(row);
    if (!song)
        return {};
    if (column == kIdentifyColumn) {
        if (isBusy(song))
            return changeImage();
        return song->getID3Status() == static_cast<int>(ID3Status::Identified) ? QStringLiteral("successed")
                                                                               : QString();
    }
    const char *name = nullptr;
    switch (static_cast<SongStatus>(song->status())) {
    case SongStatus::Missing:
        name = "notExisted";
        break;
    case SongStatus::Playing:
        name = "playing_status";
        break;
    case SongStatus::Paused:
        name = "pause_status";
        break;
    default:
        return {};
    }
    return QLatin1String(name) + QLatin1String(isSelected ? "_sel" : "");
}

void ListViewCtr::startGettingID3() {
    g_ImageIndex = 0;
    isGettingID3_ = true;
    updateTimer();
}

void ListViewCtr::stopGettingID3() {
    isGettingID3_ = false;
    updateTimer();
}

void ListViewCtr::updateTimer() {
    const bool isSeen = isGettingID3_ && view_ && view_->isVisible() && !Look::shared().isMotionReduced();
    if (!isSeen)
        timer_.stop();
    else if (!timer_.isActive())
        timer_.start();
}

// Each busy row that is drawn asks for a frame of its own and so moves all of them on by one: several rows show
// different frames. The table sees no change while it draws.
QString ListViewCtr::changeImage() {
    if (!Look::shared().isMotionReduced() && ++g_ImageIndex > kFrames)
        g_ImageIndex = 1;
    // The timer may go on after the last track is done: there is nothing to be drawn then.
    if (sender() == &timer_ && isAnyBusyInSight())
        tableView_->updateColumn(kIdentifyColumn);
    return QStringLiteral("progress_0%1.png").arg(qMax(g_ImageIndex, 1));
}

bool ListViewCtr::isAnyBusyInSight() const {
    const int first = qMax(0, tableView_->rowAt(0));
    const int below = tableView_->rowAt(tableView_->viewport()->height() - 1);
    const qsizetype count = (below < 0 ? marrSongs_->size() : below + 1) - first;
    return std::ranges::any_of(marrSongs_->mid(first, count), isBusy);
}

bool ListViewCtr::eventFilter(QObject *watched, QEvent *event) {
    if (watched == view_ && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        updateTimer();
    return false;
}

bool ListViewCtr::isButtonEnabled(int row) const {
    const SongPtr song = marrSongs_->value(row);
    if (!song)
        return false;
    switch (static_cast<ID3Status>(song->getID3Status())) {
    case ID3Status::NotAsked:
        return delegate_.canIdentify();
    case ID3Status::NotFound:
        return delegate_.canEditTags();
    default:
        return false;
    }
}

void ListViewCtr::buttonWasPressed() {
    const SongPtr song = marrSongs_->value(tableView_->clickedRow());
    if (!song)
        return;
    if (song->getID3Status() == static_cast<int>(ID3Status::NotFound))
        editMusicTagsForButtonCell();
    else
        buttonAction(song);
}

// The row is looked up in the whole library, whatever list is shown.
bool ListViewCtr::isDoubleClickOnLastColumn(int row) const {
    const SongPtr song = delegate_.allSongArray().value(row);
    return song && (song->getID3Status() == static_cast<int>(ID3Status::NotFound) ||
                    song->getID3Status() == static_cast<int>(ID3Status::Identified));
}

void ListViewCtr::doubleAction() {
    if (delegate_.isRecording())
        return;
    const int clicked = tableView_->clickedRow();
    const SongPtr song = marrSongs_->value(clicked >= 0 ? clicked : imageFlowView_->selectedIndex());
    if (song && isSongItemExist(song, /*isWarning=*/true))
        NotificationCenter::defaultCenter().postNotification(QStringLiteral("DoubleClickNotification"));
}

bool ListViewCtr::isSongItemExist(const SongPtr &song, bool isWarning) {
    // The user's answer may take it out of every list.
    const SongPtr kept = song; // NOLINT(performance-unnecessary-copy-initialization)
    if (QFileInfo::exists(kept->songPath()))
        return true;
    if (isWarning) {
        QString text = localizedString("The song \"%@\" could not be used because the original file could not be "
                                       "found.Would you like to remove it from the list?");
        text.replace(QStringLiteral("%@"), kept->title().left(kShownTitleLength));
        const PanelAnswer answer = runPanel({.message = localizedString("File does not exist."),
                                             .text = text,
                                             .buttons = {localizedString("Remove"), localizedString("Cancel")},
                                             .suppression = {}});
        if (answer.button == 0)
            NotificationCenter::defaultCenter().postNotification(
                QStringLiteral("DeleteNotification"), true,
                {{QStringLiteral("SongArray"), QVariant::fromValue(SongArray{kept})}});
    }
    kept->setStatus(static_cast<int>(SongStatus::Missing));
    tableView_->updateColumn(kStatusColumn);
    return false;
}

// Drops

bool ListViewCtr::validateDrop(const QMimeData &data) const {
    if (QApplication::activeModalWidget() || !isCanDrop_ || !delegate_.canImport() ||
        data.hasFormat(QString::fromLatin1(kSongItemType)))
        return false;
    return holdsMusic(data);
}

bool ListViewCtr::acceptDrop(const QMimeData &data) {
    if (!isCanDrop_)
        return false;
    const QStringList paths = droppedMusic(data);
    if (paths.isEmpty())
        return false;
    NotificationCenter::defaultCenter().postNotification(QStringLiteral("HasImportedFiles"), paths);
    return true;
}
