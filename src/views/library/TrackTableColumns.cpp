#include "views/library/TrackTableColumns.h"

#include "platform/run/UserDefaults.h"
#include "views/library/MyTableViewHeadView.h"

#include <QScopedValueRollback>
#include <numeric>

namespace {

constexpr std::array<int, kTrackColumnCount> kWidths = {31, 170, 121, 120, 99, 68, 104}; // of a table 713 wide
constexpr int kMinimumWidth = 44;
constexpr int kMaximumWidth = 2000;
constexpr int kCompactTableWidth = 600;
constexpr int kCompactTimeWidth = 62;
constexpr int kCompactIdentifyWidth = 96;
constexpr const char *kColumnsKey = "LibraryColumns";

bool isGrowing(int column) { return column >= kTitleColumn && column <= kAlbumColumn; }

int columnWithIdentifier(const QString &identifier) {
    for (int i = 0; i < kTrackColumnCount; ++i)
        if (identifier == QLatin1String(kTrackColumns.at(i).identifier))
            return i;
    return -1;
}

} // namespace

TrackTableColumns::TrackTableColumns(MyTableViewHeadView &header) : header_(header), widths_(kWidths) {
    header.setMinimumSectionSize(qMin(kMinimumWidth, kWidths.front()));
    header.setSectionResizeMode(QHeaderView::Interactive);
    header.setSectionResizeMode(kStatusColumn, QHeaderView::Fixed);
    restore();
    connect(&header, &QHeaderView::sectionResized, this,
            [this](int column, int, int newSize) { sectionWasResized(column, newSize); });
    connect(&header, &QHeaderView::sectionMoved, this, &TrackTableColumns::sectionWasMoved);
    connect(&header, &MyTableViewHeadView::columnsWereArranged, this, &TrackTableColumns::remember);
}

void TrackTableColumns::fit(int width) {
    const QScopedValueRollback arranging(isArranging_, true);
    width_ = width;
    const bool isCompact = width < kCompactTableWidth;
    header_.setSectionHidden(kDateColumn, isCompact);
    std::array<int, kTrackColumnCount> widths = widths_;
    if (isCompact) {
        widths[kDateColumn] = 0;
        widths[kTimeColumn] = qMin(widths[kTimeColumn], kCompactTimeWidth);
        widths[kIdentifyColumn] = qMin(widths[kIdentifyColumn], kCompactIdentifyWidth);
    }
    int weight = widths_[kTitleColumn] + widths_[kTitleColumn + 1] + widths_[kAlbumColumn];
    int rest = width - std::accumulate(widths.begin(), widths.end(), 0) + weight;
    for (int column = kTitleColumn; column <= kAlbumColumn; ++column) {
        widths.at(column) = qMax(kMinimumWidth, qRound(static_cast<double>(rest) * widths_.at(column) / weight));
        rest -= widths.at(column);
        weight -= widths_.at(column);
    }
    for (int column = 0; column < kTrackColumnCount; ++column)
        if (widths.at(column) > 0)
            header_.resizeSection(column, widths.at(column));
}

// The nearest growing column gives what the resized one takes, so that the others stay where they are.
int TrackTableColumns::growingColumnBeside(int column) const {
    const int place = header_.visualIndex(column);
    for (int i = place + 1; i < header_.count(); ++i)
        if (isGrowing(header_.logicalIndex(i)))
            return header_.logicalIndex(i);
    for (int i = place - 1; i >= 0; --i)
        if (isGrowing(header_.logicalIndex(i)))
            return header_.logicalIndex(i);
    return -1;
}

void TrackTableColumns::sectionWasResized(int column, int newSize) {
    const int giver = growingColumnBeside(column);
    if (isArranging_ || giver < 0)
        return;
    int others = 0;
    for (int i = 0; i < kTrackColumnCount; ++i) {
        if (isGrowing(i))
            widths_.at(i) = header_.sectionSize(i);
        if (i != column && i != giver)
            others += header_.sectionSize(i);
    }
    const int available = width_ - others;
    widths_.at(column) = qBound(kMinimumWidth, newSize, qMax(kMinimumWidth, available - kMinimumWidth));
    widths_.at(giver) = qMax(kMinimumWidth, available - widths_.at(column));
    isChanged_ = true;
    fit(width_);
}

// The status stands at the left and the button that identifies at the right, wherever a column is dropped.
void TrackTableColumns::sectionWasMoved() {
    if (isArranging_)
        return;
    const QScopedValueRollback arranging(isArranging_, true);
    header_.moveSection(header_.visualIndex(kStatusColumn), 0);
    header_.moveSection(header_.visualIndex(kIdentifyColumn), header_.count() - 1);
    isChanged_ = true;
}

void TrackTableColumns::remember() {
    if (!isChanged_)
        return;
    isChanged_ = false;
    QStringList columns;
    for (int place = 0; place < header_.count(); ++place) {
        const int column = header_.logicalIndex(place);
        columns.append(
            QStringLiteral("%1=%2").arg(QLatin1String(kTrackColumns.at(column).identifier)).arg(widths_.at(column)));
    }
    UserDefaults::standardUserDefaults().setObject(columns, kColumnsKey);
}

// Whatever stands in the settings: unknown columns are passed over, and missing ones stay at the end.
void TrackTableColumns::restore() {
    int place = kTitleColumn;
    for (const QString &entry : UserDefaults::standardUserDefaults().objectForKey(kColumnsKey).toStringList()) {
        const int column = columnWithIdentifier(entry.section('=', 0, 0));
        const int width = entry.section('=', 1).toInt();
        if (column < 0 || column == kStatusColumn)
            continue;
        if (width > 0)
            widths_.at(column) = qBound(kMinimumWidth, width, kMaximumWidth);
        if (column != kIdentifyColumn && header_.visualIndex(column) >= place)
            header_.moveSection(header_.visualIndex(column), place++);
    }
}
