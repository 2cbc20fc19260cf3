#include "views/dialogs/FilterTable.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchedCheckBox.h"
#include "views/dialogs/FilterTableModel.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TableSetUp.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

namespace {

constexpr int kRowHeight = 30;
constexpr int kTextInset = 3;
constexpr int kCheckBoxLeft = 10;
constexpr std::array<int, kFilterColumnCount> kWidths = {44, 200, 130, 66, 66, 88, 78, 140};

constexpr int columnNumber(FilterColumn column) { return static_cast<int>(column); }

class FilterCell : public QStyledItemDelegate {
public:
    FilterCell(FilterTable &table, FilterTableModel &model)
        : QStyledItemDelegate(&table), table_(table), model_(model) {}

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
        painter->save();
        painter->setLayoutDirection(option.direction);
        painter->setRenderHint(QPainter::Antialiasing);
        paintGround(*painter, option.rect, index, option.state & QStyle::State_Selected);
        const bool isKept = model_.isKept(index.row());
        if (index.column() == columnNumber(FilterColumn::Keep))
            paintCheckBox(*painter,
                          QPointF(option.rect.left() + kCheckBoxLeft,
                                  option.rect.top() + (option.rect.height() - kCheckBoxSize) / 2.0),
                          isKept, /*isEnabled=*/true);
        else
            paintText(*painter, option.rect, index, isKept);
        painter->restore();
    }

    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &,
                     const QModelIndex &index) override {
        if (event->type() != QEvent::MouseButtonRelease || index.column() != columnNumber(FilterColumn::Keep) ||
            static_cast<QMouseEvent *>(event)->button() != Qt::LeftButton)
            return false;
        return model->setData(index, model_.isKept(index.row()) ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    }

private:
    void paintGround(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isSelected) const {
        painter.fillRect(cell, lookColour(LookColour::Sheet)); // over what the style drew for a selected row
        if (isSelected) {
            QColor wash = lookColour(LookColour::Teal);
            wash.setAlphaF(0.13F);
            painter.fillRect(cell, wash);
        }
        if (table_.tab() == FilterTab::Duplicate && index.row() > 0 && model_.startsSong(index.row()))
            painter.fillRect(QRect(cell.left(), cell.top(), cell.width(), 1), lookColour(LookColour::Line));
        if (table_.hasFocus() && table_.currentIndex().row() == index.row()) {
            painter.fillRect(QRect(cell.left(), cell.top(), cell.width(), 1), lookColour(LookColour::Teal));
            painter.fillRect(QRect(cell.left(), cell.bottom(), cell.width(), 1), lookColour(LookColour::Teal));
        }
    }

    void paintText(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isKept) const {
        const bool isTitle = index.column() == columnNumber(FilterColumn::Title);
        const bool isFolder = index.column() == columnNumber(FilterColumn::Folder);
        const auto status = static_cast<SongStatus>(model_.rows().at(index.row())->object()->status());
        QRect area = cell.adjusted(kTextInset, 0, -2 * kTextInset, 0);
        if (isTitle && status == SongStatus::Playing)
            area.setLeft(paintPlaying(painter, area));
        const QFont font = lookFont(kListPixels, isTitle && isKept ? QFont::DemiBold : QFont::Normal);
        const QFontMetrics metrics(font);
        const QString text =
            elidedLine(index.data().toString(), metrics, isFolder ? Qt::ElideMiddle : Qt::ElideRight, area.width());
        painter.setFont(font);
        painter.setPen(lookColour(isKept ? LookColour::Ink : LookColour::Soft));
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
        if (isTitle && !isKept && !text.isEmpty()) {
            const qreal y = area.center().y() + 1.5;
            painter.setPen(sketchPen(lookColour(LookColour::Red), 1.1));
            painter.drawLine(QPointF(area.left() - 2, y),
                             QPointF(qMin(area.right(), area.left() + metrics.horizontalAdvance(text) + 3), y));
        }
    }

    /// Where the title begins behind the sign.
    static int paintPlaying(QPainter &painter, const QRect &area) {
        const QPointF middle(area.left() + 5, area.center().y() + 0.5);
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter.setBrush(lookColour(LookColour::Teal));
        painter.drawPolygon(
            QPolygonF{middle + QPointF(-3.5, -4.5), middle + QPointF(4.5, 0), middle + QPointF(-3.5, 4.5)});
        return area.left() + 15;
    }

    FilterTable &table_;
    FilterTableModel &model_;
};

class FilterHeader : public MyTableViewHeadView {
public:
    explicit FilterHeader(QWidget *parent) : MyTableViewHeadView(parent) {
        setSectionsMovable(false);
        setSectionsClickable(false);
        setFocusPolicy(Qt::NoFocus);
    }
};

} // namespace

FilterTable::FilterTable(FilterTab tab, QWidget *parent)
    : QTableView(parent), tab_(tab), model_(new FilterTableModel(tab, this)) {
    setUpTable(*this, kRowHeight);
    auto *header = new FilterHeader(this);
    setHorizontalHeader(header);
    setModel(model_);
    setItemDelegate(new FilterCell(*this, *model_));
    for (int column = 0; column < kFilterColumnCount; ++column)
        header->resizeSection(column, kWidths.at(static_cast<size_t>(column)));
    header->setMinimumSectionSize(kWidths.front());
    header->setSectionResizeMode(columnNumber(FilterColumn::Keep), QHeaderView::Fixed);
    header->setStretchLastSection(true);
    setAccessibleName(localizedString(tab == FilterTab::Short ? "Short tracks" : "Duplicates"));
    setToolTip({});
    connect(model_, &FilterTableModel::didMark, this, &FilterTable::didMark);
}

const FilterAdsItems &FilterTable::rows() const { return model_->rows(); }

void FilterTable::setRows(FilterAdsItems rows) {
    const int row = currentIndex().row();
    const int place = verticalScrollBar()->value();
    model_->setRows(std::move(rows));
    verticalScrollBar()->setValue(place);
    setCurrentIndex(model_->index(qMin(row, model_->rowCount() - 1), columnNumber(FilterColumn::Title)));
    setAccessibleDescription(model_->rowCount() == 0 ? emptyText_ : QString());
}

void FilterTable::setEmptyText(const QString &text) {
    emptyText_ = text;
    setAccessibleDescription(model_->rowCount() == 0 ? emptyText_ : QString());
}

void FilterTable::toggleSelected() {
    QList<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    const bool isAnyKept = std::ranges::any_of(rows, [this](int row) { return model_->isKept(row); });
    model_->setIsKept(rows, !isAnyKept);
}

void FilterTable::playCurrent() {
    if (currentIndex().isValid())
        emit playPressed(model_->rows().at(currentIndex().row()));
}

void FilterTable::keyPressEvent(QKeyEvent *event) {
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat())
            playCurrent();
        break;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (!event->isAutoRepeat())
            toggleSelected();
        break;
    default:
        QTableView::keyPressEvent(event);
    }
}

// A quick second click on a mark is a click on the mark.
void FilterTable::mouseDoubleClickEvent(QMouseEvent *event) {
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.column() == columnNumber(FilterColumn::Keep))
        mousePressEvent(event);
    else if (index.isValid() && event->button() == Qt::LeftButton)
        playCurrent();
}

// Without a current row the keyboard's place would be told by nothing.
void FilterTable::focusInEvent(QFocusEvent *event) {
    QTableView::focusInEvent(event);
    if (!currentIndex().isValid())
        setCurrentIndex(model_->index(0, columnNumber(FilterColumn::Title)));
    viewport()->update();
}

void FilterTable::focusOutEvent(QFocusEvent *event) {
    QTableView::focusOutEvent(event);
    viewport()->update();
}

void FilterTable::paintEvent(QPaintEvent *event) {
    QTableView::paintEvent(event);
    if (model_->rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setFont(lookFont(kStatusPixels));
    painter.setPen(lookColour(LookColour::Soft));
    painter.setLayoutDirection(layoutDirection());
    painter.drawText(viewport()->rect().adjusted(20, 0, -20, 0), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
}
