#include "views/library/TableSetUp.h"

#include "views/controls/CustomizeScroller.h"
#include "views/library/MyTableViewHeadView.h"

#include <QPainter>
#include <QTableView>

namespace {

/// The end of the header's line, above the vertical scroll bar.
class HeaderEnd : public QWidget {
public:
    explicit HeaderEnd(QWidget *parent) : QWidget(parent) { setFixedHeight(MyTableViewHeadView::kHeight); }

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        paintHeaderBackground(painter, rect());
    }
};

} // namespace

void setUpTable(QTableView &table, int rowHeight) {
    // A header of rows that are all alike keeps no sizes of its own for each of them that it would have to look at.
    QHeaderView &rows = *table.verticalHeader();
    rows.setSectionResizeMode(QHeaderView::Fixed);
    rows.setMinimumSectionSize(rowHeight);
    rows.setDefaultSectionSize(rowHeight);
    rows.hide();
    table.setSelectionBehavior(QTableView::SelectRows);
    table.setSelectionMode(QTableView::ExtendedSelection);
    table.setEditTriggers(QTableView::NoEditTriggers);
    table.setShowGrid(false);
    table.setWordWrap(false);
    table.setCornerButtonEnabled(false);
    table.setFrameShape(QTableView::NoFrame);
    table.setTabKeyNavigation(false); // Tab leaves the table
    table.setVerticalScrollMode(QTableView::ScrollPerPixel);
    table.setHorizontalScrollMode(QTableView::ScrollPerPixel);
    table.setVerticalScrollBar(new CustomizeScroller(Qt::Vertical, &table));
    table.setHorizontalScrollBar(new CustomizeScroller(Qt::Horizontal, &table));
    table.addScrollBarWidget(new HeaderEnd(&table), Qt::AlignTop);
}
