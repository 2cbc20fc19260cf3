// What the user does on the table: mouse, keys, menus, drags.
#include "platform/desktop/ImageNamed.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/Look.h"
#include "views/library/MyTableView.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TrackTableModel.h"

#include <QApplication>
#include <QDrag>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>

namespace {

constexpr int kBadgeHeight = 20;

// One drawing for each number of digits; the first of them serves all longer numbers.
QString badgeImage(qsizetype count) {
    const auto digits = QString::number(count).size();
    return QStringLiteral("DragBackgroud%1").arg(digits <= 4 ? digits : 0);
}

void drawBadge(QPainter &painter, const QPoint &topLeft, qsizetype count, qreal devicePixelRatio) {
    const QString text = QString::number(count);
    const QFont font = lookFont(kSecondLinePixels, QFont::DemiBold);
    const QSize size(qMax(QFontMetrics(font).horizontalAdvance(text) + 14, kBadgeHeight), kBadgeHeight);
    painter.drawPixmap(topLeft, imageNamed(badgeImage(count), size, devicePixelRatio));
    painter.setFont(font);
    painter.setPen(lookColour(Look::shared().isDark() ? LookColour::Paper : LookColour::Sheet));
    painter.drawText(QRect(topLeft, size), Qt::AlignCenter, text);
}

} // namespace

void MyTableView::updateRow(int row) {
    if (row >= 0 && row < numberOfRows())
        viewport()->update(0, rowViewportPosition(row), viewport()->width(), kRowHeight);
}

bool MyTableView::isButtonAt(int row, const QPoint &point) const {
    return row >= 0 && delegate_ && delegate_->isButtonEnabled(row) &&
           buttonRect(cellRect(row, kIdentifyColumn)).contains(point);
}

void MyTableView::hoverAt(const QPoint &point) {
    const int row = rowAt(point.y());
    const int buttonRow = isButtonAt(row, point) ? row : -1;
    if (row != hoveredRow_ || buttonRow != hoveredButtonRow_) {
        updateRow(hoveredRow_);
        updateRow(row);
    }
    hoveredRow_ = row;
    hoveredButtonRow_ = buttonRow;
    if (delegate_)
        delegate_->mouseMovedToRow(row);
}

void MyTableView::leaveHover() {
    updateRow(hoveredRow_);
    hoveredRow_ = -1;
    hoveredButtonRow_ = -1;
    if (delegate_)
        delegate_->mouseMovedToRow(-1);
}

// A double click on a row's button is not one on the row.
bool MyTableView::isDoubleClickOnRow(const QPoint &point) const {
    const int row = rowAt(point.y());
    const int column = columnAt(point.x());
    if (row < 0 || column < 0)
        return false;
    return header_->visualIndex(column) != kTrackColumnCount - 1 ||
           (delegate_ && delegate_->isDoubleClickOnLastColumn(row));
}

void MyTableView::mousePressEvent(QMouseEvent *event) {
    const QPoint point = event->position().toPoint();
    const QScopedValueRollback clicked(clickedRow_, rowAt(point.y()));
    isKeyboardUsed_ = false;
    pressedRow_ = clickedRow_;
    updateRow(currentIndex().row());
    if (event->button() == Qt::RightButton) // the menu decides what becomes selected
        return;
    hoverAt(point);
    if (event->button() == Qt::LeftButton && isButtonAt(clickedRow_, point)) {
        pressedButtonRow_ = clickedRow_;
        updateRow(clickedRow_);
        return;
    }
    QTableView::mousePressEvent(event);
}

void MyTableView::mouseReleaseEvent(QMouseEvent *event) {
    const QPoint point = event->position().toPoint();
    const QScopedValueRollback clicked(clickedRow_, rowAt(point.y()));
    if (pressedButtonRow_ < 0) {
        QTableView::mouseReleaseEvent(event);
        return;
    }
    hoverAt(point);
    const bool isPressed = isButtonPressed(clickedRow_);
    updateRow(pressedButtonRow_);
    pressedButtonRow_ = -1;
    if (isPressed && delegate_)
        delegate_->buttonWasPressed();
}

void MyTableView::mouseDoubleClickEvent(QMouseEvent *event) {
    const QPoint point = event->position().toPoint();
    const QScopedValueRollback clicked(clickedRow_, rowAt(point.y()));
    if (event->button() != Qt::LeftButton)
        return;
    // The first of the two clicks may have been elsewhere: on a question that stood here and closed.
    isSendAction_ = clickedRow_ == std::exchange(pressedRow_, -1) && isDoubleClickOnRow(point);
    if (!isSendAction_)
        return;
    QTableView::mouseDoubleClickEvent(event);
    if (std::exchange(isSendAction_, false) && delegate_)
        delegate_->doubleAction();
}

void MyTableView::mouseMoveEvent(QMouseEvent *event) {
    if (event->buttons() == Qt::NoButton || pressedButtonRow_ >= 0)
        hoverAt(event->position().toPoint());
    if (pressedButtonRow_ < 0)
        QTableView::mouseMoveEvent(event);
}

bool MyTableView::viewportEvent(QEvent *event) {
    if (event->type() == QEvent::Leave)
        leaveHover();
    return QTableView::viewportEvent(event);
}

void MyTableView::keyPressEvent(QKeyEvent *event) {
    isKeyboardUsed_ = true;
    const int row = currentIndex().row();
    updateRow(row);
    switch (event->key()) {
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            NotificationCenter::defaultCenter().postNotification(QStringLiteral("SpaceDownNotification"));
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (delegate_ && !event->isAutoRepeat() && selectedRow() >= 0)
            delegate_->doubleAction();
        return;
    case Qt::Key_F10:
        if (event->modifiers() == Qt::ShiftModifier)
            return popUpMenu(isRowSelected(row) ? row : selectedRow(), {});
        break;
    case Qt::Key_Down:
        if (event->modifiers() != Qt::AltModifier)
            break;
        if (delegate_ && row >= 0)
            delegate_->showFloatMenu(row);
        return;
    default:
        break;
    }
    QTableView::keyPressEvent(event);
}

void MyTableView::focusInEvent(QFocusEvent *event) {
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        isKeyboardUsed_ = true;
    QTableView::focusInEvent(event);
}

void MyTableView::wheelEvent(QWheelEvent *event) {
    NotificationCenter::defaultCenter().postNotification(QStringLiteral("ScrollWheelNotification"),
                                                         static_cast<const QWheelEvent *>(event));
    QTableView::wheelEvent(event);
}

QMenu *MyTableView::menuForEvent(int row) {
    if (QApplication::activeModalWidget() || selectedRow() < 0 || !delegate_)
        return nullptr;
    setFocus();
    if (row < 0 || row >= numberOfRows())
        return nullptr;
    if (!isRowSelected(row))
        selectRowIndexes({row});
    return delegate_->menu();
}

// An empty `point` stands for a place at the row's title.
void MyTableView::popUpMenu(int row, const QPoint &point) {
    if (QMenu *menu = menuForEvent(row)) {
        if (point.isNull())
            scrollRowToVisible(row);
        const QRect title = cellRect(row, kTitleColumn);
        menu->popup(viewport()->mapToGlobal(point.isNull() ? title.bottomLeft() + QPoint(8, 0) : point));
    }
}

void MyTableView::contextMenuEvent(QContextMenuEvent *event) {
    const int current = currentIndex().row();
    if (event->reason() == QContextMenuEvent::Keyboard)
        popUpMenu(isRowSelected(current) ? current : selectedRow(), {});
    else
        popUpMenu(rowAt(event->pos().y()), event->pos());
}

// The first row at half strength, and how many there are.
void MyTableView::startDrag(Qt::DropActions) {
    const QList<int> rows = selectedRowIndexes();
    std::unique_ptr<QMimeData> files = model_->mimeDataForRows(rows);
    if (!files)
        return;
    const QRect row(0, 0, qMin(viewport()->width(), 320), kRowHeight);
    QPixmap image(row.size() * devicePixelRatioF());
    image.setDevicePixelRatio(devicePixelRatioF());
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(0.5);
    const SongPtr song = model_->songItem(rows.first());
    painter.fillRect(row, lookColour(LookColour::Sheet));
    painter.setFont(lookFont(kListPixels));
    painter.setPen(lookColour(LookColour::Ink));
    painter.drawText(row.adjusted(34, 0, -44, 0), Qt::AlignVCenter | Qt::TextSingleLine, song->title().left(80));
    painter.setOpacity(1);
    if (rows.size() > 1)
        drawBadge(painter, {4, (kRowHeight - kBadgeHeight) / 2}, rows.size(), devicePixelRatioF());
    painter.end();
    auto *drag = new QDrag(this);
    drag->setMimeData(files.release());
    drag->setPixmap(image);
    drag->setHotSpot({12, kRowHeight / 2});
    drag->exec(Qt::CopyAction);
}

void MyTableView::setIsDropWelcome(bool isWelcome) {
    isDropWelcome_ = isWelcome;
    viewport()->update();
}

void MyTableView::dragEnterEvent(QDragEnterEvent *event) {
    setIsDropWelcome(delegate_ && event->mimeData() && delegate_->validateDrop(*event->mimeData()));
    if (isDropWelcome_) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

// The files of a drag stay the same, so they are looked at once.
void MyTableView::dragMoveEvent(QDragMoveEvent *event) {
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(isDropWelcome_);
}

void MyTableView::dragLeaveEvent(QDragLeaveEvent *) { setIsDropWelcome(false); }

void MyTableView::dropEvent(QDropEvent *event) {
    const bool isWelcome = isDropWelcome_;
    setIsDropWelcome(false);
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(isWelcome && delegate_ && event->mimeData() && delegate_->acceptDrop(*event->mimeData()));
}
