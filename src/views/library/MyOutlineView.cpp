#include "views/library/MyOutlineView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QStyledItemDelegate>
#include <utility>

namespace {

constexpr int kHeaderHeight = 25;
constexpr int kLaterHeaderHeight = 28; // a little air above the second header
constexpr int kRowHeight = 30;
constexpr int kLeftMargin = 16;
constexpr int kImageWidth = 24; // what an icon takes from a row; its text begins behind
constexpr int kImageSide = 16;
constexpr int kRightMargin = 14; // between the end of a row and the edge of the tree
constexpr int kBadgeWidth = 30;
constexpr int kBadgeHeight = 18;
constexpr int kBadgePadding = 3; // at each side of a number that needs a wider badge
constexpr QMargins kChoice(7, 2, 7, 3);

int badgePixels(int count) { return count < 10 ? 12 : count < 100 ? 10 : 8; }

QPixmap tinted(QPixmap picture, const QColor &colour) {
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), colour);
    return picture;
}

} // namespace

class OutlineModel : public QAbstractItemModel {
public:
    OutlineModel(const OutlineItem &root, const CategoryViewCtrDelegate &delegate, QObject *parent)
        : QAbstractItemModel(parent), root_(root), delegate_(delegate) {}

    static const OutlineItem &item(const QModelIndex &index) {
        return *static_cast<const OutlineItem *>(index.constInternalPointer());
    }

    // The two categories at the top are all there are, whatever else is put beside them.
    int rowCount(const QModelIndex &parent) const override {
        constexpr int kTopLevelItems = 2;
        return parent.isValid() ? static_cast<int>(item(parent).childs.size()) : kTopLevelItems;
    }
    int columnCount(const QModelIndex &) const override { return 1; }
    bool hasChildren(const QModelIndex &parent) const override {
        return !parent.isValid() || !item(parent).childs.isEmpty();
    }
    QModelIndex index(int row, int column, const QModelIndex &parent) const override {
        const auto &childs = parent.isValid() ? item(parent).childs : root_.childs;
        if (column != 0 || row < 0 || row >= childs.size())
            return {};
        return createIndex(row, column, childs.at(row).get());
    }
    QModelIndex parent(const QModelIndex &index) const override {
        for (int row = 0; row < root_.childs.size(); ++row)
            for (const auto &child : root_.childs.at(row)->childs)
                if (child.get() == index.constInternalPointer())
                    return createIndex(row, 0, root_.childs.at(row).get());
        return {};
    }
    Qt::ItemFlags flags(const QModelIndex &index) const override {
        return hasChildren(index) ? Qt::NoItemFlags : Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    }
    QVariant data(const QModelIndex &index, int role) const override {
        const OutlineItem &shown = item(index);
        if (role == Qt::AccessibleTextRole && shown.itemCount > 0)
            return QString(shown.category + QStringLiteral(", ") + QLocale().toString(shown.itemCount));
        return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? shown.category : QVariant();
    }
    QVariant headerData(int, Qt::Orientation, int role) const override {
        return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? localizedString("Categories") : QVariant();
    }

    int rowOf(const QModelIndex &wanted) const {
        int row = 0;
        for (int i = 0; i < rowCount({}); ++i) {
            const QModelIndex header = index(i, 0, {});
            if (header == wanted)
                return row;
            if (wanted.parent() == header)
                return row + 1 + wanted.row();
            row += 1 + rowCount(header);
        }
        return -1;
    }
    // To count the untagged tracks takes a look at every track: it is done once for many paintings.
    void askForCounts() {
        int row = 0;
        for (int i = 0; i < rowCount({}); ++i, ++row)
            for (const auto &child : root_.childs.at(i)->childs)
                child->itemCount = delegate_.badgeCount(++row);
    }

private:
    const OutlineItem &root_;
    const CategoryViewCtrDelegate &delegate_;
};

namespace {

/// Draws a row: icon and title, the frame of the chosen one, the badge.
class ImageAndTextCell : public QStyledItemDelegate {
public:
    ImageAndTextCell(const OutlineModel &model, QObject *parent) : QStyledItemDelegate(parent), model_(model) {}

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const override {
        if (!model_.hasChildren(index))
            return {CategoryViewCtr::kWidth, kRowHeight};
        return {CategoryViewCtr::kWidth, index.row() == 0 ? kHeaderHeight : kLaterHeaderHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
        painter->save();
        painter->setLayoutDirection(option.direction);
        painter->setRenderHint(QPainter::Antialiasing);
        const bool isSelected = option.state & QStyle::State_Selected;
        const QRect row = option.rect.adjusted(kLeftMargin, 0, -kRightMargin, 0);
        if (isSelected)
            drawChoice(*painter, option.rect, option.state & QStyle::State_HasFocus);
        if (model_.hasChildren(index))
            drawText(*painter, row, index, lookFont(kSecondLinePixels, QFont::Bold), LookColour::Soft);
        else
            drawRow(*painter, row, index, isSelected);
        painter->restore();
    }

private:
    void drawRow(QPainter &painter, QRect row, const QModelIndex &index, bool isSelected) const {
        const OutlineItem &item = OutlineModel::item(index);
        const LookColour colour = isSelected ? LookColour::Teal : LookColour::Ink;
        const int badgeLeft = drawBadge(painter, row, item.itemCount, isSelected);
        if (!item.image.isEmpty()) {
            const QPixmap image =
                imageNamed(item.image, {kImageSide, kImageSide}, painter.device()->devicePixelRatioF());
            painter.drawPixmap(row.left() + 1, row.center().y() - kImageSide / 2 + 1,
                               isSelected ? tinted(image, lookColour(colour)) : image);
            row.setLeft(row.left() + kImageWidth);
        }
        row.setRight(badgeLeft - 3);
        drawText(painter, row, index, lookFont(kListPixels, isSelected ? QFont::DemiBold : QFont::Normal), colour);
    }

    static void drawText(QPainter &painter, const QRect &place, const QModelIndex &index, const QFont &font,
                         LookColour colour) {
        const QString text = index.data().toString();
        painter.setFont(font);
        painter.setPen(lookColour(colour));
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         QFontMetrics(font).elidedText(text, Qt::ElideRight, place.width()));
    }

    static void drawChoice(QPainter &painter, const QRectF &cell, bool hasFocus) {
        const QColor teal = lookColour(LookColour::Teal);
        QColor wash = teal;
        wash.setAlphaF(0.15F);
        const QPainterPath frame = sketchedRect(cell.marginsRemoved(kChoice), 7);
        painter.fillPath(frame, lookColour(LookColour::Sheet));
        painter.setPen(sketchPen(teal, 1.4));
        painter.setBrush(wash);
        painter.drawPath(frame);
        painter.setBrush(Qt::NoBrush);
        if (hasFocus)
            painter.drawPath(sketchedRect(cell.marginsRemoved(kChoice).adjusted(-3, -2, 3, 2), 9));
    }

    // The badge ends where its row does, and grows to the left when the number needs it. Its left edge is the answer.
    static int drawBadge(QPainter &painter, const QRect &row, int count, bool isSelected) {
        if (count <= 0)
            return row.right() + 1;
        const QFont font = lookFont(badgePixels(count), QFont::Medium);
        const QString number = QString::number(count);
        const int width = qMax(kBadgeWidth, QFontMetrics(font).horizontalAdvance(number) + 2 * kBadgePadding);
        const QRect badge(row.right() + 1 - width, row.top() + (row.height() - kBadgeHeight) / 2, width, kBadgeHeight);
        painter.setPen(sketchPen(lookColour(isSelected ? LookColour::Teal : LookColour::Line), 1.1));
        painter.setBrush(lookColour(isSelected ? LookColour::Teal : LookColour::Sheet));
        painter.drawPath(sketchedRect(badge, 8));
        painter.setFont(font);
        painter.setPen(!isSelected               ? lookColour(LookColour::Ink)
                       : Look::shared().isDark() ? lookColour(LookColour::Paper)
                                                 : lookColour(LookColour::Sheet));
        painter.drawText(badge, Qt::AlignCenter, number);
        return badge.left();
    }

    const OutlineModel &model_;
};

} // namespace

MyOutlineView::MyOutlineView(const OutlineItem &root, const CategoryViewCtrDelegate &delegate, QWidget *parent)
    : QTreeView(parent), model_(new OutlineModel(root, delegate, this)) {
    setModel(model_);
    setItemDelegate(new ImageAndTextCell(*model_, this));
    setHeaderHidden(true);
    setRootIsDecorated(false); // with no indentation there is no triangle to draw or to hit
    setIndentation(0);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setFrameShape(QFrame::NoFrame);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollBar(new CustomizeScroller(Qt::Vertical, this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setSelectionMode(QAbstractItemView::SingleSelection);
    // By rows Qt takes a row's number below its header for one below the root when a screen reader selects.
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setTabKeyNavigation(false);
    setAccessibleName(localizedString("Categories"));
    viewport()->setBackgroundRole(QPalette::Midlight);
    expandAll();
    connect(this, &QTreeView::collapsed, this, &QTreeView::expand);
    selectRow(1);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex &current) {
        lookAgain();
        emit didSelect(item(current));
    });
}

int MyOutlineView::rowOf(const QModelIndex &index) const { return index.isValid() ? model_->rowOf(index) : -1; }

QModelIndex MyOutlineView::indexOfRow(int row) const {
    for (QModelIndex index = model_->index(0, 0, {}); index.isValid(); index = indexBelow(index))
        if (row-- == 0)
            return index;
    return {};
}

const OutlineItem &MyOutlineView::item(const QModelIndex &index) const { return OutlineModel::item(index); }

void MyOutlineView::selectRow(int row) {
    const QModelIndex index = indexOfRow(row);
    if (index.flags() & Qt::ItemIsSelectable)
        setCurrentIndex(index);
}

void MyOutlineView::lookAgain() {
    areCountsOld_ = true;
    viewport()->update();
}

void MyOutlineView::keyPressEvent(QKeyEvent *event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat())
        NotificationCenter::defaultCenter().postNotification(QStringLiteral("SpaceDownNotification"));
    QTreeView::keyPressEvent(event);
}

// Headers are passed over; at the ends the choice stays where it is.
QModelIndex MyOutlineView::moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers) {
    const bool isForward = cursorAction == MoveDown || cursorAction == MoveRight || cursorAction == MoveNext ||
                           cursorAction == MovePageDown || cursorAction == MoveHome;
    QModelIndex index = cursorAction == MoveLeft || cursorAction == MoveRight
                            ? currentIndex()
                            : QTreeView::moveCursor(cursorAction, modifiers);
    while (index.isValid() && !(index.flags() & Qt::ItemIsSelectable))
        index = isForward ? indexBelow(index) : indexAbove(index);
    return index.isValid() ? index : currentIndex();
}

// Nothing takes the choice away but another choice.
QItemSelectionModel::SelectionFlags MyOutlineView::selectionCommand(const QModelIndex &index,
                                                                    const QEvent *event) const {
    const bool isRelease = event && event->type() == QEvent::MouseButtonRelease;
    return isRelease || !(index.flags() & Qt::ItemIsSelectable) ? QItemSelectionModel::NoUpdate
                                                                : QItemSelectionModel::ClearAndSelect;
}

// A screen reader selects without moving the current row, and can take a selection away.
void MyOutlineView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) {
    QTreeView::selectionChanged(selected, deselected);
    const QModelIndexList chosen = selected.indexes();
    if (!chosen.isEmpty())
        setCurrentIndex(chosen.first());
    else if (!selectionModel()->isSelected(currentIndex()))
        selectionModel()->select(currentIndex(), QItemSelectionModel::Select);
}

void MyOutlineView::paintEvent(QPaintEvent *event) {
    if (std::exchange(areCountsOld_, false))
        model_->askForCounts();
    QTreeView::paintEvent(event);
}

void MyOutlineView::focusInEvent(QFocusEvent *event) {
    QTreeView::focusInEvent(event);
    viewport()->update();
}
