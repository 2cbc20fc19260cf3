#include "views/library/MyTableViewHeadView.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

constexpr int kTitleLeft = 3;
constexpr int kMarkWidth = 12;
constexpr int kDividerFromRight = 2;
constexpr QSize kDividerSize(2, 14);

void drawMark(QPainter &painter, const QPointF &middle, bool ascending) {
    const qreal up = ascending ? 1 : -1;
    painter.setPen(sketchPen(lookColour(LookColour::Ink), 1.4));
    const QPolygonF mark{middle + QPointF(-3, 1.6 * up), middle + QPointF(0, -1.6 * up), middle + QPointF(3, 1.6 * up)};
    painter.drawPolyline(mark);
}

} // namespace

void paintHeaderBackground(QPainter &painter, const QRect &rect) {
    painter.drawPixmap(rect, imageNamed(QStringLiteral("talbeViewHeaderBackgroud1")));
    painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), lookColour(LookColour::Line));
}

MyTableViewHeadView::MyTableViewHeadView(QWidget *parent) : QHeaderView(Qt::Horizontal, parent) {
    setSectionsClickable(true);
    setSectionsMovable(true);
    setFirstSectionMovable(false);
    setHighlightSections(false);
    setFocusPolicy(Qt::TabFocus);
}

void MyTableViewHeadView::setSortMark(int column, bool ascending) {
    sortColumn_ = column;
    isAscending_ = ascending;
    viewport()->update();
}

QSize MyTableViewHeadView::sizeHint() const { return {QHeaderView::sizeHint().width(), kHeight}; }

void MyTableViewHeadView::paintSection(QPainter *painter, const QRect &rect, int column) const {
    painter->save();
    painter->setLayoutDirection(layoutDirection());
    painter->setRenderHint(QPainter::Antialiasing);
    paintHeaderBackground(*painter, rect);
    const bool isSorted = column == sortColumn_;
    const bool isLast = visualIndex(column) == count() - 1;
    const QRect area = rect.adjusted(kTitleLeft, 0, isLast ? 0 : -kDividerFromRight - kDividerSize.width(), 0);
    const QFont font = lookFont(kSecondLinePixels, QFont::DemiBold);
    painter->setFont(font);
    painter->setPen(lookColour(isSorted ? LookColour::Ink : LookColour::Soft));
    const QFontMetrics metrics(font);
    const QString title = metrics.elidedText(model()->headerData(column, Qt::Horizontal).toString(), Qt::ElideRight,
                                             area.width() - (isSorted ? kMarkWidth : 0));
    painter->drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, title);
    if (isSorted)
        drawMark(*painter, {area.left() + metrics.horizontalAdvance(title) + 8.5, rect.center().y() + 0.5},
                 isAscending_);
    if (!isLast && column != 0)
        painter->drawPixmap(QPoint(rect.right() + 1 - kDividerFromRight - kDividerSize.width(),
                                   rect.center().y() - kDividerSize.height() / 2),
                            imageNamed(QStringLiteral("Dividing lines"), kDividerSize, devicePixelRatioF()));
    if (hasFocus() && visualIndex(column) == focusedPlace_) {
        painter->setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter->setBrush(Qt::NoBrush);
        painter->drawPath(sketchedRect(QRectF(rect).adjusted(1, 2, -2, -3), 5));
    }
    painter->restore();
}

// The style would fill what lies behind the last column in its own way.
void MyTableViewHeadView::paintEvent(QPaintEvent *event) {
    QHeaderView::paintEvent(event);
    QPainter painter(viewport());
    paintHeaderBackground(painter, viewport()->rect().adjusted(length() - offset(), 0, 0, 0));
}

void MyTableViewHeadView::mouseReleaseEvent(QMouseEvent *event) {
    QHeaderView::mouseReleaseEvent(event);
    emit columnsWereArranged();
}

void MyTableViewHeadView::moveFocus(int step) {
    int place = focusedPlace_ + step;
    while (place >= 0 && place < count() && isSectionHidden(logicalIndex(place)))
        place += step;
    if (place >= 0 && place < count())
        focusedPlace_ = place;
    viewport()->update();
}

void MyTableViewHeadView::keyPressEvent(QKeyEvent *event) {
    switch (event->key()) {
    case Qt::Key_Left:
        return moveFocus(-1);
    case Qt::Key_Right:
        return moveFocus(1);
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit sectionClicked(logicalIndex(focusedPlace_));
        return;
    default:
        event->ignore();
    }
}

void MyTableViewHeadView::focusInEvent(QFocusEvent *event) {
    focusedPlace_ = qMax(1, sortColumn_ < 0 ? 0 : visualIndex(sortColumn_));
    viewport()->update();
    QHeaderView::focusInEvent(event);
}

void MyTableViewHeadView::focusOutEvent(QFocusEvent *event) {
    viewport()->update();
    QHeaderView::focusOutEvent(event);
}
