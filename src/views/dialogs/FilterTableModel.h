// The rows of a list of the filter.
//
// Threads: main.
#pragma once

#include "views/dialogs/FilterAdsItem.h"

#include <QAbstractTableModel>
#include <array>

enum class FilterColumn { Keep, Title, Artist, Time, Size, Date, BitRate, Folder };
inline constexpr int kFilterColumnCount = 8;

class FilterTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    FilterTableModel(FilterTab tab, QObject *parent) : QAbstractTableModel(parent), tab_(tab) {}

    const FilterAdsItems &rows() const { return rows_; }
    void setRows(FilterAdsItems rows);
    bool isKept(int row) const { return rows_.at(row)->isKept(tab_); }
    /// The row is of another song than the one above it.
    bool startsSong(int row) const;
    /// Marks all of `rows` in one step.
    void setIsKept(const QList<int> &rows, bool isKept);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : kFilterColumnCount; }
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    /// The mark, under Qt::CheckStateRole.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

signals:
    void didMark();

private:
    FilterTab tab_;
    FilterAdsItems rows_;
};
