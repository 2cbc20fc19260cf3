#include "views/library/MyMenuViewController.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/library/TrackCell.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyledItemDelegate>

namespace {

constexpr int kFrameInset = 6;      // of the rows' marks, from the window's left and right edge
constexpr int kFrameTop = 14;       // from the window's top edge to the first row
constexpr int kFirstLevelLeft = 18; // of the signs, from the window's left edge
constexpr int kSecondLevelLeft = 16;
constexpr int kFirstLevelBorders = 28; // above and below the rows
constexpr int kSecondLevelBorders = 29;
constexpr int kRowsWithoutScrolling = 5;
constexpr QSize kIconSize(16, 16);
constexpr QSize kArrowSize(14, 14);
constexpr int kTitleFromIcon = 22;

QPixmap inColour(QPixmap picture, const QColor &colour) {
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), colour);
    return picture;
}

/// Paints a row.
class CustomItemView : public QStyledItemDelegate {
public:
    explicit CustomItemView(MyMenuViewController &menu) : QStyledItemDelegate(&menu), menu_(menu) {}

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override {
        return {0, MyMenuViewController::kRowHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
        const auto &items = menu_.menuItemArray();
        const MyMenuItemController &item = items.at(items.size() - 1 - index.row());
        const bool isMarked = item.isEnabled && index == menu_.currentIndex();
        painter->save();
        painter->setLayoutDirection(option.direction);
        if (isMarked) {
            QColor wash = lookColour(LookColour::Teal);
            wash.setAlphaF(0.15F);
            painter->fillRect(option.rect.adjusted(0, 1, 0, -1), wash);
        }
        paintRow(*painter, option.rect, item, isMarked);
        // Below the library stand the playlists.
        if (item.title == localizedString("Music Library"))
            painter->fillRect(QRect(option.rect.left() + 2, option.rect.bottom(), option.rect.width() - 4, 1),
                              lookColour(LookColour::Line));
        painter->restore();
    }

private:
    void paintRow(QPainter &painter, const QRect &row, const MyMenuItemController &item, bool isMarked) const {
        const qreal scale = painter.device()->devicePixelRatioF();
        const QColor colour = lookColour(!item.isEnabled ? LookColour::Line
                                         : isMarked      ? LookColour::Teal
                                                         : LookColour::Ink);
        const int left = (menu_.menuLevel() == 1 ? kFirstLevelLeft : kSecondLevelLeft) - kFrameInset;
        QPixmap icon = imageNamed(item.image, kIconSize, scale);
        if (isMarked || !item.isEnabled)
            icon = inColour(icon, colour);
        painter.drawPixmap(left, row.center().y() - kIconSize.height() / 2 + 1, icon);
        const QFont font = lookFont(kListPixels, isMarked ? QFont::DemiBold : QFont::Normal);
        const QRect area =
            row.adjusted(left + kTitleFromIcon, 0, -(item.isAddItunesItem ? kArrowSize.width() + 8 : 8), 0);
        painter.setFont(font);
        painter.setPen(colour);
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         textForCell(item.title, QFontMetrics(font), area.width()));
        if (item.isAddItunesItem)
            painter.drawPixmap(row.right() - kArrowSize.width() - 3, row.center().y() - kArrowSize.height() / 2 + 1,
                               imageNamed(isMarked ? QStringLiteral("Menu_Arrow_Select") : QStringLiteral("Menu_Arrow"),
                                          kArrowSize, scale));
    }

    MyMenuViewController &menu_;
};

} // namespace

MyMenuViewController::MyMenuViewController(QWidget *parent) : QListView(parent) {
    setModel(new QStandardItemModel(this));
    setItemDelegate(new CustomItemView(*this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::NoSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    setVerticalScrollBar(new CustomizeScroller(Qt::Vertical, this));
}

void MyMenuViewController::showView() {
    auto *rows = static_cast<QStandardItemModel *>(model());
    rows->clear();
    for (qsizetype i = menuItemArray_.size() - 1; i >= 0; --i) {
        auto *row = new QStandardItem(menuItemArray_.at(i).title);
        row->setEnabled(menuItemArray_.at(i).isEnabled);
        rows->appendRow(row);
    }
    const QSize window = windowSize();
    const int borders = menuLevel_ == 1 ? kFirstLevelBorders : kSecondLevelBorders;
    setGeometry(kFrameInset, kFrameTop, window.width() - 2 * kFrameInset, window.height() - borders);
}

int MyMenuViewController::selectedMenuItemIndex() const {
    return currentIndex().isValid() ? indexAtRow(currentIndex().row()) : -1;
}

void MyMenuViewController::setSelectedMenuItemIndex(int index) {
    setCurrentIndex(index < 0 ? QModelIndex() : model()->index(indexAtRow(index), 0));
    viewport()->update();
}

void MyMenuViewController::selectTopRow() {
    for (int row = 0; row < model()->rowCount(); ++row)
        if (menuItemArray_.at(indexAtRow(row)).isEnabled)
            return setSelectedMenuItemIndex(indexAtRow(row));
}

void MyMenuViewController::chooseItem(int index) {
    const MyMenuItemController item = menuItemArray_.value(index);
    if (index >= 0 && index < menuItemArray_.size() && item.isEnabled)
        NotificationCenter::defaultCenter().postNotification(QString::fromLatin1(kMenuItemClickNotification), {},
                                                             {{QStringLiteral("title"), item.title}});
}

QSize MyMenuViewController::windowSize() const {
    const auto rows = static_cast<int>(menuItemArray_.size());
    const int width = imageNamed(frameImage("top")).width();
    return menuLevel_ == 1 ? QSize(width, rows * kRowHeight + kFirstLevelBorders)
                           : QSize(width, qMin(rows, kRowsWithoutScrolling) * kRowHeight + kSecondLevelBorders);
}

QString MyMenuViewController::frameImage(const char *part) const {
    return QStringLiteral("layer%1_%2.png").arg(menuLevel_).arg(QLatin1String(part));
}

void MyMenuViewController::mouseMoveEvent(QMouseEvent *event) {
    const QModelIndex row = indexAt(event->position().toPoint());
    if (!row.isValid())
        logLine(QStringLiteral("index越界"));
    else if (row != currentIndex())
        setSelectedMenuItemIndex(indexAtRow(row.row()));
}

void MyMenuViewController::mousePressEvent(QMouseEvent *event) {
    const QModelIndex row = indexAt(event->position().toPoint());
    if (row.isValid() && event->button() == Qt::LeftButton)
        chooseItem(indexAtRow(row.row()));
}

// The row that leads to the second level stays marked while the pointer is there.
void MyMenuViewController::leaveEvent(QEvent *event) {
    const bool isSecondLevelOpen = QApplication::activePopupWidget() && QApplication::activePopupWidget() != window();
    if (!isSecondLevelOpen)
        setSelectedMenuItemIndex(-1);
    QListView::leaveEvent(event);
}

void MyMenuViewController::keyPressEvent(QKeyEvent *event) {
    const int index = selectedMenuItemIndex();
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        chooseItem(index);
        return;
    case Qt::Key_Right:
        if (index >= 0 && menuItemArray_.at(index).isAddItunesItem)
            chooseItem(index);
        return;
    case Qt::Key_Left:
        emit didStepBack();
        return;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        QListView::keyPressEvent(event);
        viewport()->update();
        return;
    default:
        event->ignore(); // the window closes
    }
}
