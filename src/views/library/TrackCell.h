// Paints the cells of the track list.
//
// Threads: main.
#pragma once

#include <QStyledItemDelegate>

class MyTableView;
class SongItem;

class TrackCell : public QStyledItemDelegate {
public:
    explicit TrackCell(MyTableView &table);

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintGround(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isSelected) const;
    void paintText(QPainter &painter, const QRect &cell, const QModelIndex &index, const SongItem &song) const;
    void paintImage(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isSelected) const;
    void paintButton(QPainter &painter, const QRect &cell, int row, const SongItem &song, bool isSelected) const;

    MyTableView &table_;
};

/// `text` on one line of at most `width` pixels. Control characters show as blanks, and of a text without end only as
/// much is looked at as could fit.
QString textForCell(const QString &text, const QFontMetrics &metrics, int width);
