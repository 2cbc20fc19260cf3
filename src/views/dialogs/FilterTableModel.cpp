#include "views/dialogs/FilterTableModel.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/OneLine.h"

#include <QFileInfo>
#include <QLocale>
#include <algorithm>

namespace {

constexpr std::array<const char *, kFilterColumnCount> kTitles = {"Keep", "Title",      "Artist",   "Time",
                                                                  "Size", "Date Added", "Bit Rate", "Folder"};

QString bitRateText(const SongItem &song) {
    return song.biteRate() > 0 ? localizedString("%1 kbit/s").arg(QLocale().toString((song.biteRate() + 500) / 1000))
                               : QString();
}

QString textOf(const FilterAdsItem &item, FilterColumn column) {
    const SongItem &song = *item.object();
    switch (column) {
    case FilterColumn::Keep:
        return {};
    case FilterColumn::Title:
        return oneLine(item.title());
    case FilterColumn::Artist:
        return oneLine(item.artist());
    case FilterColumn::Time:
        return item.time().trimmed();
    case FilterColumn::Size:
        return song.songSize();
    case FilterColumn::Date:
        return item.date();
    case FilterColumn::BitRate:
        return bitRateText(song);
    case FilterColumn::Folder:
        return oneLine(QFileInfo(song.songPath()).path());
    }
    return {};
}

} // namespace

void FilterTableModel::setRows(FilterAdsItems rows) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

bool FilterTableModel::startsSong(int row) const {
    if (row == 0)
        return true;
    const FilterAdsItem &item = *rows_.at(row);
    const FilterAdsItem &above = *rows_.at(row - 1);
    return item.title() != above.title() || item.artist() != above.artist();
}

void FilterTableModel::setIsKept(const QList<int> &rows, bool isKept) {
    for (const int row : rows)
        rows_.at(row)->setIsKept(tab_, isKept);
    if (rows.isEmpty())
        return;
    const auto [first, last] = std::minmax_element(rows.begin(), rows.end());
    emit dataChanged(index(*first, 0), index(*last, kFilterColumnCount - 1));
    emit didMark();
}

int FilterTableModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

Qt::ItemFlags FilterTableModel::flags(const QModelIndex &index) const {
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (index.column() == static_cast<int>(FilterColumn::Keep))
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant FilterTableModel::data(const QModelIndex &index, int role) const {
    if (!index.isValid())
        return {};
    const auto column = static_cast<FilterColumn>(index.column());
    const FilterAdsItem &item = *rows_.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return textOf(item, column);
    case Qt::CheckStateRole:
        if (column == FilterColumn::Keep)
            return isKept(index.row()) ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::AccessibleTextRole:
        if (column == FilterColumn::Keep)
            return localizedString(isKept(index.row()) ? "Stays" : "Goes");
        // Whoever hears one cell hears what becomes of its row as well.
        if (column == FilterColumn::Title)
            return QStringList{textOf(item, column), textOf(item, FilterColumn::Artist),
                               localizedString(isKept(index.row()) ? "Stays" : "Goes")}
                .join(QStringLiteral(", "));
        return textOf(item, column);
    case Qt::ToolTipRole: // a tool tip would read a name like "<b>" as a sign
        if (column == FilterColumn::Folder)
            return oneLine(item.object()->songPath()).toHtmlEscaped();
        return textOf(item, column).toHtmlEscaped();
    default:
        return {};
    }
}

bool FilterTableModel::setData(const QModelIndex &index, const QVariant &value, int role) {
    if (role != Qt::CheckStateRole || index.column() != static_cast<int>(FilterColumn::Keep))
        return false;
    setIsKept({index.row()}, value.toInt() == Qt::Checked);
    return true;
}

QVariant FilterTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= kFilterColumnCount)
        return {};
    return localizedString(kTitles.at(static_cast<size_t>(section)));
}
