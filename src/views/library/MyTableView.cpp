#include "views/library/MyTableView.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TableSetUp.h"
#include "views/library/TrackCell.h"
#include "views/library/TrackTableColumns.h"
#include "views/library/TrackTableModel.h"
#include "views/recording/SceneArtwork.h"

#include <QApplication>
#include <QPainter>
#include <QScopedValueRollback>
#include <algorithm>
#include <numeric>

namespace {

constexpr QSize kButtonSize(68, 22);
constexpr int kTextUnderPicture = 48;

int sortColumn(const QList<SortDescriptor> &descriptors) {
    if (!descriptors.isEmpty())
        for (int i = 0; i < kTrackColumnCount; ++i)
            if (descriptors.first().key == QLatin1String(kTrackColumns.at(i).sortKey))
                return i;
    return -1;
}

} // namespace

MyTableView::MyTableView(QWidget *parent)
    : QTableView(parent), model_(new TrackTableModel(this)), header_(new MyTableViewHeadView(this)) {
    setUpTable(*this, kRowHeight);
    setHorizontalHeader(header_);
    setModel(model_);
    columns_ = new TrackTableColumns(*header_);
    columns_->setParent(this);
    setItemDelegate(new TrackCell(*this));
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    viewport()->setMouseTracking(true);
    viewport()->setBackgroundRole(QPalette::Window);
    setAccessibleName(localizedString("Tracks"));
    connect(header_, &QHeaderView::sectionClicked, this, &MyTableView::headerWasClicked);
}

void MyTableView::reloadData() {
    isSelectionChanged_ = false;
    {
        const QScopedValueRollback holding(isSelectionHeld_, true);
        model_->reloadData();
    }
    setAccessibleDescription(numberOfRows() == 0 ? emptyText_ : QString());
    viewport()->update();
    if (isSelectionChanged_ && delegate_)
        delegate_->tableViewSelectionDidChange();
}

void MyTableView::updateColumn(int column) {
    viewport()->update(columnViewportPosition(column), 0, columnWidth(column), viewport()->height());
}

void MyTableView::setEmptyText(const QString &text, const QString &picture) {
    emptyText_ = text;
    emptyPicture_ = picture;
    setAccessibleDescription(numberOfRows() == 0 ? emptyText_ : QString());
    viewport()->update();
}

int MyTableView::numberOfRows() const { return model_->rowCount(); }

QList<int> MyTableView::selectedRowIndexes() const {
    QList<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    std::ranges::sort(rows);
    return rows;
}

int MyTableView::selectedRow() const {
    int first = -1;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        first = first < 0 ? range.top() : qMin(first, range.top());
    return first;
}

bool MyTableView::isRowSelected(int row) const { return selectionModel()->isSelected(model_->index(row, 0)); }

void MyTableView::selectRowIndexes(const QList<int> &rows) {
    QList<int> wanted = rows;
    wanted.removeIf([this](int row) { return row < 0 || row >= numberOfRows(); });
    std::ranges::sort(wanted);
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    if (!wanted.isEmpty() && !std::ranges::binary_search(wanted, currentIndex().row())) {
        // Without a mode the view selects nothing by itself, and begins the next range of rows at the new place.
        setSelectionMode(NoSelection);
        setAutoScroll(false);
        setCurrentIndex(model_->index(wanted.first(), kTitleColumn));
        setAutoScroll(true);
        setSelectionMode(ExtendedSelection);
    }
    if (std::ranges::equal(wanted, selectedRowIndexes()))
        return;
    {
        // Qt compares ranges pair by pair, which stands still where a sort has scattered many rows: the old ones with
        // the new ones, unless there are none, and the new ones with each other, if it is to widen them to rows.
        const QScopedValueRollback holding(isSelectionHeld_, true);
        selectionModel()->clearSelection();
        selectionModel()->select(selectionOfRows(wanted), QItemSelectionModel::Select);
    }
    if (delegate_)
        delegate_->tableViewSelectionDidChange();
}

QItemSelection MyTableView::selectionOfRows(const QList<int> &rows) const {
    QItemSelection selection;
    for (qsizetype i = 0; i < rows.size();) {
        const int first = rows.at(i);
        int last = first;
        while (++i < rows.size() && rows.at(i) == last + 1)
            last = rows.at(i);
        selection.append(QItemSelectionRange(model_->index(first, 0), model_->index(last, kIdentifyColumn)));
    }
    return selection;
}

void MyTableView::selectAll() {
    QList<int> rows(numberOfRows());
    std::iota(rows.begin(), rows.end(), 0);
    selectRowIndexes(rows);
}

void MyTableView::scrollRowToVisible(int row) { scrollTo(model_->index(row, kTitleColumn)); }

void MyTableView::setSortDescriptors(const QList<SortDescriptor> &descriptors) {
    if (isSortShown_ && descriptors == sortDescriptors_)
        return;
    sortDescriptors_ = descriptors;
    setIsSortShown(true);
    if (delegate_)
        delegate_->sortDescriptorsDidChange();
}

void MyTableView::setIsSortShown(bool isShown) {
    isSortShown_ = isShown;
    header_->setSortMark(isShown ? sortColumn(sortDescriptors_) : -1,
                         sortDescriptors_.isEmpty() || sortDescriptors_.first().ascending);
}

void MyTableView::headerWasClicked(int column) {
    const TrackColumn &clicked = kTrackColumns.at(column);
    if (!isCanSorted_ || !clicked.sortKey)
        return;
    SortDescriptor descriptor{
        .key = QString::fromLatin1(clicked.sortKey), .ascending = true, .comparison = clicked.comparison};
    if (isSortShown_ && sortColumn(sortDescriptors_) == column)
        descriptor.ascending = !sortDescriptors_.first().ascending;
    setSortDescriptors({descriptor});
}

QRect MyTableView::cellRect(int row, int column) const { return visualRect(model_->index(row, column)); }

QRect MyTableView::buttonRect(const QRect &cell) {
    QRect button(QPoint(), kButtonSize.boundedTo(cell.size() - QSize(6, 4)));
    button.moveCenter(cell.center());
    return button;
}

bool MyTableView::isFocusShown(int row) const { return isKeyboardUsed_ && hasFocus() && currentIndex().row() == row; }

void MyTableView::paintEvent(QPaintEvent *event) {
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    if (numberOfRows() == 0)
        paintEmptyText(painter);
    if (isDropWelcome_) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 2));
        painter.drawPath(sketchedRect(QRectF(viewport()->rect()).adjusted(3, 3, -3, -3), 8));
    }
}

void MyTableView::paintEmptyText(QPainter &painter) const {
    QRect place = viewport()->rect().adjusted(24, 0, -24, 0);
    const QPixmap picture = sceneImage(emptyPicture_, devicePixelRatioF());
    const QSize size = picture.deviceIndependentSize().toSize();
    if (const int top = (place.height() - size.height() - kTextUnderPicture) / 2; !picture.isNull() && top > 0) {
        painter.drawPixmap(place.center().x() - size.width() / 2, top, picture);
        place = {place.left(), top + size.height(), place.width(), kTextUnderPicture};
    }
    painter.setFont(lookFont(kStatusPixels));
    painter.setPen(lookColour(LookColour::Soft));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(place, Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
}

void MyTableView::resizeEvent(QResizeEvent *event) {
    columns_->fit(viewport()->width());
    QTableView::resizeEvent(event);
}

void MyTableView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) {
    QTableView::selectionChanged(selected, deselected);
    if (isSelectionHeld_)
        isSelectionChanged_ = true;
    else if (delegate_)
        delegate_->tableViewSelectionDidChange();
}

QModelIndex MyTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    if (action == MoveHome || action == MoveEnd)
        return model_->index(action == MoveHome ? 0 : numberOfRows() - 1, kTitleColumn);
    return QTableView::moveCursor(action, modifiers);
}

void MyTableView::scrollContentsBy(int dx, int dy) {
    QTableView::scrollContentsBy(dx, dy);
    if (viewport()->underMouse())
        hoverAt(viewport()->mapFromGlobal(QCursor::pos()));
    else
        leaveHover();
}
