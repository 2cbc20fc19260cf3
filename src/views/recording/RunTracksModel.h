// The tracks recorded since the program started, newest first.
//
// Threads: main.
#pragma once

#include "store/SongItem.h"

#include <QAbstractListModel>

class RunTracksModel : public QAbstractListModel {
    Q_OBJECT
public:
    /// The role of the second line: length and size, as in "3:43 · 8.9 MB".
    static constexpr int kSecondLineRole = Qt::UserRole;

    using QAbstractListModel::QAbstractListModel;

    void addSongItem(std::shared_ptr<SongItem> song);
    /// Shows the item's values as they are now. One that is not in the list is ignored, here and below.
    void updateSongItem(const std::shared_ptr<SongItem> &song);
    void removeSongItem(const std::shared_ptr<SongItem> &song);
    /// All of them, the newest first.
    void setSongItems(const QList<std::shared_ptr<SongItem>> &songs);

    const std::shared_ptr<SongItem> &songItem(const QModelIndex &index) const { return songs_.at(index.row()); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    QList<std::shared_ptr<SongItem>> songs_;
};
