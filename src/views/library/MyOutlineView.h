// The tree of categories: two levels, always open, one row always chosen.
//
// Threads: main.
#pragma once

#include "views/library/CategoryViewCtr.h"

#include <QTreeView>

class OutlineModel;

/// Headers can be neither chosen nor folded.
class MyOutlineView : public QTreeView {
    Q_OBJECT
public:
    /// Both outlive the view.
    MyOutlineView(const OutlineItem &root, const CategoryViewCtrDelegate &delegate, QWidget *parent);

    /// Rows counted from the top, headers too; -1 for none.
    int rowOf(const QModelIndex &index) const;
    QModelIndex indexOfRow(int row) const;
    const OutlineItem &item(const QModelIndex &index) const;

    void selectRow(int row);
    /// Titles and counts may be others now.
    void lookAgain();

signals:
    void didSelect(const OutlineItem &item);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    QModelIndex moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index, const QEvent *event) const override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    OutlineModel *model_;
    bool areCountsOld_ = true; // the next painting asks for them
};
