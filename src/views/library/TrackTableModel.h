// The rows of the track list: what the cells of a shared array of tracks show.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"
#include "store/SortDescriptor.h"

#include <QAbstractTableModel>
#include <array>

class QMimeData;

struct TrackColumn {
    const char *identifier; ///< the key of SongItem that the cells show, where there is one
    const char *title;      ///< English
    const char *sortKey;    ///< null for a column that does not sort
    SortComparison comparison;
};

inline constexpr std::array<TrackColumn, 7> kTrackColumns = {{
    {"status", "", nullptr, SortComparison::Compare},
    {"title", "Title", "title", SortComparison::CaseInsensitiveCompare},
    {"artist", "Artist", "artist", SortComparison::CaseInsensitiveCompare},
    {"album", "Album", "album", SortComparison::CaseInsensitiveCompare},
    {"dateString", "Date Added", "addedDate", SortComparison::Compare},
    {"playLength", "Time", "length", SortComparison::Compare},
    {"Music identify", "Music identify", nullptr, SortComparison::Compare},
}};
inline constexpr int kTrackColumnCount = kTrackColumns.size();
inline constexpr int kStatusColumn = 0;
inline constexpr int kTitleColumn = 1;
inline constexpr int kAlbumColumn = 3;
inline constexpr int kDateColumn = 4;
inline constexpr int kTimeColumn = 5;
inline constexpr int kIdentifyColumn = 6;

/// What a drag of rows carries besides their files: a QStringList of paths, through QDataStream.
inline constexpr const char *kSongItemType = "CorvidiaSongItemType";

class TrackTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    /// Shown from the next reloadData() on.
    void setSongArray(SharedSongArray songs) { songs_ = std::move(songs); }
    const SharedSongArray &songArray() const { return songs_; }
    /// Null for a row beyond the array.
    SongPtr songItem(int row) const;
    /// Takes over the array's present length and says that every row may have changed. Views keep their rows' numbers,
    /// and nothing is done for rows that nobody sees.
    void reloadData();
    /// Null when one of the rows is not in the array, or none has a file's path.
    std::unique_ptr<QMimeData> mimeDataForRows(const QList<int> &rows) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    /// For the search by typing: titles that begin with `value`, in whatever column it was typed.
    QModelIndexList match(const QModelIndex &start, int role, const QVariant &value, int hits,
                          Qt::MatchFlags flags) const override;

private:
    SharedSongArray songs_ = std::make_shared<SongArray>();
    int count_ = 0; // as the views know it; the array may have grown or shrunk since
};
