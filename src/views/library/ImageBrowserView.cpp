#include "views/library/ImageBrowserView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/pictures/CoverCache.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>

namespace {

constexpr int kScrollMilliseconds = 250;
constexpr int kMargin = 20; // around the picture of a cell, room for the step buttons
constexpr QSize kPictureSize(ImageBrowserLayout::kItemWidth - 2 * kMargin,
                             ImageBrowserLayout::kItemHeight - 2 * kMargin);
constexpr qreal kRadius = 6;
constexpr int kFocusGap = 4;

// Where a screen draws a cell, whose place is told from below.
QPoint cornerOfItem(int index) {
    const QPointF middle = ImageBrowserLayout::positionOfItem(index);
    return {qRound(middle.x() - kPictureSize.width() / 2.0),
            qRound(ImageBrowserLayout::kItemHeight - middle.y() - kPictureSize.height() / 2.0)};
}

// A widget without a role is passed over by screen readers.
QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *browser = qobject_cast<ImageBrowserView *>(object);
    return browser ? new QAccessibleWidget(browser, QAccessible::Graphic) : nullptr;
}

} // namespace

QPointF ImageBrowserLayout::positionOfItem(int index) {
    return {kItemWidth / 2.0 + index * kItemWidth, kItemHeight / 2.0 + 2};
}

ImageBrowserView::ImageBrowserView(QWidget *parent) : QWidget(parent) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setFixedSize(ImageBrowserLayout::kItemWidth, ImageBrowserLayout::kItemHeight);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(localizedString("Cover"));
    setAcceptDrops(true);
    scroll_.setDuration(kScrollMilliseconds);
    scroll_.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&scroll_, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        scrolledTo_ = value.toReal();
        update();
    });
    connect(&CoverCache::shared(), &CoverCache::coverCame, this, qOverload<>(&QWidget::update));
    connect(&Look::shared(), &Look::changed, this, qOverload<>(&QWidget::update));
}

void ImageBrowserView::setIsEditable(bool isEditable) {
    isEditable_ = isEditable;
    update();
}

void ImageBrowserView::reloadData() {
    cacheItems_.clear();
    const int count = dataSource_ ? dataSource_->numberOfItemsInImageBrowser(*this) : 0;
    for (int i = 0; i < count; ++i)
        cacheItems_.append(dataSource_->itemAtIndex(*this, i));
    tellScreenReader();
    update();
}

void ImageBrowserView::scrollIndexToVisible(int index, bool animated) {
    const int count = dataSource_ ? dataSource_->numberOfItemsInImageBrowser(*this) : 0;
    visibleItemIndex_ = index >= 0 && index < count ? index : 0;
    isHighlighted_ = isMouseIn_ || (count > 0 && visibleItemIndex_ == count - 1);
    const qreal goal = visibleItemIndex_ * ImageBrowserLayout::kItemWidth;
    scroll_.stop();
    if (animated && isVisible() && !Look::shared().isMotionReduced()) {
        scroll_.setStartValue(scrolledTo_);
        scroll_.setEndValue(goal);
        scroll_.start();
    } else {
        scrolledTo_ = goal;
    }
    tellScreenReader();
    update();
}

bool ImageBrowserView::isLastObjectIndex() const {
    return !cacheItems_.isEmpty() && visibleItemIndex_ == cacheItems_.size() - 1;
}

void ImageBrowserView::tellScreenReader() {
    const ImageBrowserItemPtr item = cacheItems_.value(visibleItemIndex_);
    setAccessibleDescription(item ? item->title() : QString());
    QAccessibleEvent event(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

// Pictures

QString ImageBrowserView::shownImagePath(int index) const {
    const ImageBrowserItemPtr item = cacheItems_.value(index);
    if (!item)
        return {};
    const bool isHighlighted = isHighlighted_ && isEditable_ && index == visibleItemIndex_;
    return isHighlighted && !item->highlightImagePath().isEmpty() ? item->highlightImagePath() : item->imagePath();
}

QImage ImageBrowserView::coverOf(const ImageBrowserItem &item, const QString &path) {
    const CoverKey key{path, item.version(), (QSizeF(kPictureSize) * devicePixelRatioF()).toSize()};
    QImage cover = CoverCache::shared().cover(key);
    if (cover.isNull())
        CoverCache::shared().want(this, {key});
    return cover;
}

void ImageBrowserView::drawItem(QPainter &painter, int index, const QPoint &corner) {
    const ImageBrowserItemPtr item = cacheItems_.at(index);
    const QString path = shownImagePath(index);
    if (!item || path.isEmpty())
        return;
    const QRect place(corner, kPictureSize);
    const QPainterPath frame = sketchedRect(QRectF(place), kRadius);
    painter.save();
    painter.setClipPath(frame);
    if (path.startsWith('/'))
        painter.drawImage(place, coverOf(*item, path));
    else
        painter.drawPixmap(place.topLeft(), imageNamed(path, kPictureSize, devicePixelRatioF()));
    painter.restore();
    painter.setPen(sketchPen(lookColour(isDropWelcome_ ? LookColour::Teal : LookColour::Ink)));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(frame);
}

void ImageBrowserView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), lookColour(LookColour::Sheet));
    const int first = static_cast<int>(scrolledTo_) / ImageBrowserLayout::kItemWidth;
    for (int i = first; i <= first + 1 && i < cacheItems_.size(); ++i)
        drawItem(painter, i, cornerOfItem(i) - QPoint(qRound(scrolledTo_), 0));
    if (keyboardFocus_.isShown()) {
        const QRectF place(cornerOfItem(0), kPictureSize);
        painter.setPen(sketchPen(lookColour(LookColour::Teal)));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(place.adjusted(-kFocusGap, -kFocusGap, kFocusGap, kFocusGap), kRadius + 2));
    }
}

// Keyboard and mouse

void ImageBrowserView::keyPressEvent(QKeyEvent *event) {
    if (!delegate_)
        return;
    if (event->matches(QKeySequence::Paste))
        delegate_->pasteCover();
    else if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right)
        delegate_->stepCover(event->key() == Qt::Key_Left ? -1 : 1);
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space)
        delegate_->chooseCover();
    else
        QWidget::keyPressEvent(event);
}

// Paste is the strip's own here, whatever shortcuts the window has.
bool ImageBrowserView::event(QEvent *event) {
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Paste))
        event->accept();
    return QWidget::event(event);
}

void ImageBrowserView::focusInEvent(QFocusEvent *event) {
    keyboardFocus_.focusIn(*event);
    QWidget::focusInEvent(event);
}

void ImageBrowserView::focusOutEvent(QFocusEvent *event) {
    keyboardFocus_.focusOut(*event);
    QWidget::focusOutEvent(event);
}

int ImageBrowserView::itemAt(const QPoint &point) const {
    for (int i = 0; i < cacheItems_.size(); ++i)
        if (QRect(cornerOfItem(i) - QPoint(qRound(scrolledTo_), 0), kPictureSize).contains(point))
            return i;
    return -1;
}

void ImageBrowserView::mousePressEvent(QMouseEvent *event) {
    keyboardFocus_.mousePressed();
    pressedItem_ = itemAt(event->pos());
    if (pressedItem_ >= 0 && delegate_)
        delegate_->itemMouseDownAtIndex(*this, pressedItem_);
}

void ImageBrowserView::mouseReleaseEvent(QMouseEvent *event) {
    const int item = itemAt(event->pos());
    const int pressed = std::exchange(pressedItem_, -1);
    if (item < 0 || !delegate_)
        return;
    delegate_->itemMouseUpAtIndex(*this, item);
    if (event->button() == Qt::LeftButton && item == pressed && isLastObjectIndex())
        delegate_->chooseCover();
}

void ImageBrowserView::enterEvent(QEnterEvent *event) {
    isMouseIn_ = isHighlighted_ = true;
    update();
    if (delegate_)
        delegate_->mouseEntered(*this);
    QWidget::enterEvent(event);
}

void ImageBrowserView::leaveEvent(QEvent *event) {
    isMouseIn_ = isHighlighted_ = false;
    update();
    if (delegate_)
        delegate_->mouseExited(*this);
    QWidget::leaveEvent(event);
}

// Nobody sees the rest of the way.
void ImageBrowserView::hideEvent(QHideEvent *event) {
    if (scroll_.state() == QAbstractAnimation::Running)
        scrollIndexToVisible(visibleItemIndex_);
    CoverCache::shared().want(this, {});
    QWidget::hideEvent(event);
}

void ImageBrowserView::contextMenuEvent(QContextMenuEvent *event) {
    if (!delegate_)
        return;
    QMenu menu(this);
    Look::shared().dress(menu);
    menu.setFont(lookFont(kListPixels));
    const QAction *choose = menu.addAction(localizedString("Choose Cover..."));
    const QAction *paste = menu.addAction(localizedString("Paste Cover"));
    for (QAction *action : menu.actions())
        action->setEnabled(isEditable_);
    const QAction *chosen = menu.exec(event->globalPos());
    if (chosen && chosen == choose)
        delegate_->chooseCover();
    else if (chosen && chosen == paste)
        delegate_->pasteCover();
}

// Drops

bool ImageBrowserView::takesDrop(const QMimeData &offer) const {
    return isEditable_ && isLastObjectIndex() && (offer.hasImage() || offer.hasUrls());
}

void ImageBrowserView::setIsDropWelcome(bool isDropWelcome) {
    isDropWelcome_ = isDropWelcome;
    update();
}

void ImageBrowserView::dragEnterEvent(QDragEnterEvent *event) {
    if (!takesDrop(*event->mimeData()))
        return;
    setIsDropWelcome(/*isDropWelcome=*/true);
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void ImageBrowserView::dragMoveEvent(QDragMoveEvent *event) {
    if (!isDropWelcome_)
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void ImageBrowserView::dragLeaveEvent(QDragLeaveEvent *) { setIsDropWelcome(/*isDropWelcome=*/false); }

void ImageBrowserView::dropEvent(QDropEvent *event) {
    setIsDropWelcome(/*isDropWelcome=*/false);
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(delegate_ && delegate_->dragFile(*this, *event->mimeData()));
}
