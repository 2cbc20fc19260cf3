// The table of tracks, spoken to by row numbers.
//
// Threads: main.
#pragma once

#include "store/SortDescriptor.h"

#include <QTableView>

class MyTableViewHeadView;
class QMenu;
class QMimeData;
class TrackTableColumns;
class TrackTableModel;

/// What the table asks for, and what it says. Outlives its MyTableView.
class MyTableViewDelegate {
public:
    virtual void tableViewSelectionDidChange() {}
    virtual void sortDescriptorsDidChange() {}
    /// A double click on a row, or Enter.
    virtual void doubleAction() {}
    /// Whether a double click on the last column of `row` counts. Elsewhere it does.
    virtual bool isDoubleClickOnLastColumn([[maybe_unused]] int row) const { return false; }
    /// The picture in a column that shows one; its name with ending or without. Null for none.
    virtual QString imageForRow([[maybe_unused]] int row, [[maybe_unused]] int column,
                                [[maybe_unused]] bool isSelected) {
        return {};
    }
    /// Whether the button in the last column of `row` can be pressed.
    virtual bool isButtonEnabled([[maybe_unused]] int row) const { return false; }
    /// The button in the last column of clickedRow() was pressed.
    virtual void buttonWasPressed() {}
    /// The pointer stands on `row`; -1 for none.
    virtual void mouseMovedToRow([[maybe_unused]] int row) {}
    /// The menu of `row` is asked for by key.
    virtual void showFloatMenu([[maybe_unused]] int row) {}
    /// The menu of the selected rows; null for none.
    virtual QMenu *menu() { return nullptr; }
    /// Whether any file of a drag is welcome.
    virtual bool validateDrop([[maybe_unused]] const QMimeData &data) const { return false; }
    virtual bool acceptDrop([[maybe_unused]] const QMimeData &data) { return false; }

protected:
    ~MyTableViewDelegate() = default;
};

class MyTableView : public QTableView {
    Q_OBJECT
public:
    static constexpr int kRowHeight = 30;

    explicit MyTableView(QWidget *parent);

    void setDelegate(MyTableViewDelegate *delegate) { delegate_ = delegate; }
    MyTableViewDelegate *delegate() const { return delegate_; }
    TrackTableModel *trackModel() const { return model_; }
    MyTableViewHeadView *headerView() const { return header_; }
    /// Looks at the rows again. Selected row numbers stay as far as there are such rows.
    void reloadData();
    /// Draws what is seen of a column again.
    void updateColumn(int column);
    /// The sentence shown in place of rows, and the picture above it where there is room.
    void setEmptyText(const QString &text, const QString &picture = {});
    /// Whether a click on the header sorts, where the column can.
    void setIsCanSorted(bool isCanSorted) { isCanSorted_ = isCanSorted; }

    int numberOfRows() const;
    /// Ascending.
    QList<int> selectedRowIndexes() const;
    /// The first selected row; -1 for none.
    int selectedRow() const;
    bool isRowSelected(int row) const;
    /// The row of the click that is being handled; -1 outside of one, and for keys.
    int clickedRow() const { return clickedRow_; }
    /// Replaces the selection. Rows that do not exist are left out.
    void selectRowIndexes(const QList<int> &rows);
    void selectAll() override;
    void scrollRowToVisible(int row);
    /// The columns' sort; an empty list takes the mark from the header.
    QList<SortDescriptor> sortDescriptors() const { return sortDescriptors_; }
    void setSortDescriptors(const QList<SortDescriptor> &descriptors);
    /// Whether the header shows the mark: not over rows that stand otherwise. setSortDescriptors() brings it back.
    bool isSortShown() const { return isSortShown_; }
    void setIsSortShown(bool isShown);

    /// In the viewport.
    QRect cellRect(int row, int column) const;
    /// Where the button in the last column stands in its cell.
    static QRect buttonRect(const QRect &cell);
    int hoveredRow() const { return hoveredRow_; }
    bool isButtonHovered(int row) const { return row >= 0 && row == hoveredButtonRow_; }
    bool isButtonPressed(int row) const { return row == pressedButtonRow_ && row == hoveredButtonRow_ && row >= 0; }
    /// Whether `row` shows the keyboard's focus.
    bool isFocusShown(int row) const;

    /// The menu for a click on `row`, which becomes selected; null where there is none to show.
    QMenu *menuForEvent(int row);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void paintEmptyText(QPainter &painter) const;
    void headerWasClicked(int column);
    void hoverAt(const QPoint &point);
    void leaveHover();
    void updateRow(int row);
    bool isButtonAt(int row, const QPoint &point) const;
    bool isDoubleClickOnRow(const QPoint &point) const;
    void setIsDropWelcome(bool isWelcome);
    /// `rows` are in order.
    QItemSelection selectionOfRows(const QList<int> &rows) const;
    void popUpMenu(int row, const QPoint &point);

    TrackTableModel *model_;
    MyTableViewHeadView *header_;
    TrackTableColumns *columns_;
    MyTableViewDelegate *delegate_ = nullptr;
    QString emptyText_, emptyPicture_;
    QList<SortDescriptor> sortDescriptors_;
    bool isSortShown_ = true;
    bool isCanSorted_ = false;
    bool isSendAction_ = false; // the next double action may go out
    int clickedRow_ = -1;
    int pressedRow_ = -1; // of the last press; a double click is two on one row
    int hoveredRow_ = -1;
    int hoveredButtonRow_ = -1;
    int pressedButtonRow_ = -1;
    bool isKeyboardUsed_ = false;     // the last move was made by key
    bool isSelectionHeld_ = false;    // its changes are told at the end
    bool isSelectionChanged_ = false; // while held by a reload
    bool isDropWelcome_ = false;
};
