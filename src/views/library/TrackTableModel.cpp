#include "views/library/TrackTableModel.h"

#include "platform/run/LocalizedString.h"

#include <QDataStream>
#include <QIODevice>
#include <QMimeData>
#include <QUrl>

namespace {

QString statusText(const SongItem &song) {
    switch (static_cast<SongStatus>(song.status())) {
    case SongStatus::Missing:
        return localizedString("File does not exist.");
    case SongStatus::Playing:
        return localizedString("Playing");
    case SongStatus::Paused:
        return localizedString("Paused");
    default:
        return {};
    }
}

QString identifyText(const SongItem &song) {
    switch (static_cast<ID3Status>(song.getID3Status())) {
    case ID3Status::NotAsked:
        return localizedString("Identify");
    case ID3Status::Waiting:
        return localizedString("Waiting");
    case ID3Status::NotFound:
        return localizedString("Edit");
    case ID3Status::Identified:
        return localizedString("Identified");
    default:
        return localizedString("Identifying");
    }
}

QVariant shownValue(const SongItem &song, int column) {
    static const auto getters = [] {
        std::array<SongItem::ValueGetter, kTrackColumnCount> found{};
        for (int i = kTitleColumn; i <= kTimeColumn; ++i)
            found.at(i) = SongItem::valueGetterForKey(QString::fromLatin1(kTrackColumns.at(i).identifier));
        return found;
    }();
    const SongItem::ValueGetter getter = getters.at(column);
    return getter ? getter(song) : QVariant();
}

QString spokenText(const SongItem &song, int column) {
    if (column == kStatusColumn)
        return statusText(song);
    if (column == kIdentifyColumn)
        return identifyText(song);
    return shownValue(song, column).toString().trimmed();
}

} // namespace

SongPtr TrackTableModel::songItem(int row) const {
    return row >= 0 && row < songs_->size() ? songs_->at(row) : nullptr;
}

void TrackTableModel::reloadData() {
    const auto count = static_cast<int>(songs_->size());
    if (count > count_) {
        beginInsertRows({}, count_, count - 1);
        count_ = count;
        endInsertRows();
    } else if (count < count_) {
        beginRemoveRows({}, count, count_ - 1);
        count_ = count;
        endRemoveRows();
    }
    if (count_ > 0)
        emit dataChanged(index(0, 0), index(count_ - 1, kTrackColumnCount - 1));
}

std::unique_ptr<QMimeData> TrackTableModel::mimeDataForRows(const QList<int> &rows) const {
    QStringList paths;
    for (const int row : rows) {
        const SongPtr song = songItem(row);
        if (!song)
            return nullptr;
        if (!song->songPath().isEmpty())
            paths.append(song->songPath());
    }
    if (paths.isEmpty())
        return nullptr;
    QByteArray archive;
    QDataStream stream(&archive, QIODevice::WriteOnly);
    stream << paths;
    QList<QUrl> urls;
    for (const QString &path : std::as_const(paths))
        urls.append(QUrl::fromLocalFile(path));
    auto data = std::make_unique<QMimeData>();
    data->setData(QString::fromLatin1(kSongItemType), archive);
    data->setUrls(urls);
    return data;
}

int TrackTableModel::rowCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : count_; }

int TrackTableModel::columnCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : kTrackColumnCount; }

QVariant TrackTableModel::data(const QModelIndex &index, int role) const {
    const SongPtr song = songItem(index.row());
    if (!song)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return shownValue(*song, index.column());
    case Qt::AccessibleTextRole:
        return spokenText(*song, index.column());
    case Qt::ToolTipRole:
        if (index.column() == kIdentifyColumn && song->getID3Status() == static_cast<int>(ID3Status::Identified))
            return localizedString("Identified");
        return {};
    default:
        return {};
    }
}

QVariant TrackTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= kTrackColumnCount)
        return {};
    if (role == Qt::AccessibleTextRole && section == kStatusColumn)
        return localizedString("Status");
    if ((role == Qt::DisplayRole || role == Qt::AccessibleTextRole) && section != kStatusColumn)
        return localizedString(kTrackColumns.at(section).title);
    return {};
}

Qt::ItemFlags TrackTableModel::flags(const QModelIndex &index) const {
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren
                           : Qt::NoItemFlags;
}

QStringList TrackTableModel::mimeTypes() const {
    return {QString::fromLatin1(kSongItemType), QStringLiteral("text/uri-list")};
}

QModelIndexList TrackTableModel::match(const QModelIndex &start, int, const QVariant &value, int,
                                       Qt::MatchFlags) const {
    const QString typed = value.toString();
    for (int i = 0; i < count_; ++i) {
        const int row = (start.row() + i) % count_;
        const SongPtr song = songItem(row);
        if (song && song->title().startsWith(typed, Qt::CaseInsensitive))
            return {index(row, start.column())};
    }
    return {};
}
