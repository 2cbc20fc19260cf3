// A list of the filter: rows with a mark that says which stay.
//
// Threads: main.
#pragma once

#include "views/dialogs/FilterAdsItem.h"

#include <QTableView>

class FilterTableModel;

class FilterTable : public QTableView {
    Q_OBJECT
public:
    FilterTable(FilterTab tab, QWidget *parent);

    FilterTab tab() const { return tab_; }
    const FilterAdsItems &rows() const;
    /// The keyboard stays at the row where it stands.
    void setRows(FilterAdsItems rows);
    /// The sentence shown in place of rows.
    void setEmptyText(const QString &text);

signals:
    /// The user marked rows otherwise.
    void didMark();
    /// The user wants to hear the track of a row.
    void playPressed(const FilterAdsItemPtr &item);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void toggleSelected();
    void playCurrent();

    FilterTab tab_;
    FilterTableModel *model_;
    QString emptyText_;
};
