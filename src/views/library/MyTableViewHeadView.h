// The header of the track list: titles, a mark at the column that sorts, columns that the user moves and resizes.
//
// Threads: main.
#pragma once

#include <QHeaderView>

class MyTableViewHeadView : public QHeaderView {
    Q_OBJECT
public:
    static constexpr int kHeight = 24;

    explicit MyTableViewHeadView(QWidget *parent);

    /// The column with the mark; -1 for none.
    void setSortMark(int column, bool ascending);
    /// The rows are sorted by their lengths.
    bool isTimeColumnSorted() const { return isTimeColumnSorted_; }
    void setIsTimeColumnSorted(bool isSorted) { isTimeColumnSorted_ = isSorted; }

    QSize sizeHint() const override;

signals:
    /// The user let go of a column that was moved or resized.
    void columnsWereArranged();

protected:
    void paintSection(QPainter *painter, const QRect &rect, int column) const override;
    void paintEvent(QPaintEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void moveFocus(int step);

    int sortColumn_ = -1;
    bool isAscending_ = true;
    bool isTimeColumnSorted_ = false;
    int focusedPlace_ = 0; // where the keyboard stands, counted from the left
};

/// What fills the header's line above a scroll bar.
void paintHeaderBackground(QPainter &painter, const QRect &rect);
