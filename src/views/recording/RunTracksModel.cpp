#include "views/recording/RunTracksModel.h"

void RunTracksModel::addSongItem(std::shared_ptr<SongItem> song) {
    beginInsertRows({}, 0, 0);
    songs_.prepend(std::move(song));
    endInsertRows();
}

void RunTracksModel::updateSongItem(const std::shared_ptr<SongItem> &song) {
    const auto row = static_cast<int>(songs_.indexOf(song));
    if (row >= 0)
        emit dataChanged(index(row), index(row));
}

void RunTracksModel::removeSongItem(const std::shared_ptr<SongItem> &song) {
    const auto row = static_cast<int>(songs_.indexOf(song));
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    songs_.removeAt(row);
    endRemoveRows();
}

void RunTracksModel::setSongItems(const QList<std::shared_ptr<SongItem>> &songs) {
    beginResetModel();
    songs_ = songs;
    endResetModel();
}

int RunTracksModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(songs_.size());
}

QVariant RunTracksModel::data(const QModelIndex &index, int role) const {
    const SongItem &song = *songItem(index);
    const auto joined = [&](const QString &separator, QStringList parts) {
        parts.removeAll(QString()); // an unknown length or size has no text
        return parts.join(separator);
    };
    switch (role) {
    case Qt::DisplayRole:
        return song.title();
    case Qt::ToolTipRole:
        return song.songPath();
    case Qt::AccessibleTextRole:
        return joined(QStringLiteral(", "), {song.title(), song.playLength().trimmed(), song.songSize()});
    case kSecondLineRole:
        return joined(QStringLiteral(" · "), {song.playLength().trimmed(), song.songSize()});
    default:
        return {};
    }
}
