#include "views/recording/ImageFlowView.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/MainThread.h"
#include "views/controls/SketchButton.h"

#include <QAccessibleWidget>
#include <QEasingCurve>
#include <QKeyEvent>

namespace {

constexpr int kInset = 10;       // at both sides of the strip
constexpr int kSideMargin = 10;  // and once more before the first item and behind the last
constexpr qreal kOverhang = 0.4; // by which the strip is wider than what it fills

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *flow = qobject_cast<ImageFlowView *>(object);
    return flow ? new QAccessibleWidget(flow, QAccessible::List) : nullptr;
}

} // namespace

QSizeF ViewLayout::layoutSubviews(const QWidgetList &subviews, const QRect &bounds, qreal superviewWidth,
                                  const std::function<void(QWidget &, const QPoint &)> &setFrameOrigin) {
    const QRect area = bounds.adjusted(kInset, 0, -kInset, 0);
    int x = area.left() + kSideMargin;
    int height = 0;
    for (QWidget *subview : subviews) {
        const auto *item = qobject_cast<FlowItemView *>(subview);
        if (!item || !item->owner())
            continue;
        setFrameOrigin(*subview, {x, area.top()});
        x += subview->width();
        height = qMax(height, subview->height());
    }
    return {qMax<qreal>(x + kSideMargin, superviewWidth + kOverhang), static_cast<qreal>(height)};
}

ImageFlowView::ImageFlowView(QWidget *parent) : QWidget(parent) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setAccessibleName(localizedString("Recorded tracks"));
    setFocusPolicy(Qt::ClickFocus); // Tab comes to an item, and the items stand behind the strip in its order
    connect(&sight_, &SightWatch::changed, this, [this] {
        if (!sight_.mayMove())
            endSlides();
    });
}

ImageFlowView::~ImageFlowView() { SceneClock::shared().remove(*this); }

// Items

int ImageFlowView::countOfItems() const { return dataSource_ ? dataSource_->numberOfItemsInFlowView(*this) : 0; }

ImageFlowViewItemPtr ImageFlowView::itemOf(int index) const {
    return dataSource_ ? dataSource_->itemAtIndex(*this, index) : nullptr;
}

int ImageFlowView::indexOf(const ImageFlowViewItem *item) const {
    for (int i = 0; i < countOfItems(); ++i)
        if (itemOf(i).get() == item)
            return i;
    return -1;
}

void ImageFlowView::reloadData() {
    QList<ImageFlowViewItemPtr> items;
    for (int i = 0; i < countOfItems(); ++i)
        items.append(itemOf(i));
    for (const ImageFlowViewItemPtr &item : QList<ImageFlowViewItemPtr>(cacheItems_))
        if (!items.contains(item))
            removeItem(item);
    // From the right: each goes below what stands at its right, and so a new one at the left goes below all.
    FlowItemView *right = nullptr;
    for (auto item = items.crbegin(); item != items.crend(); right = (*item++)->view())
        if (!cacheItems_.contains(*item))
            addItem(*item, right);
    updateTabStops();
    emit cacheItemsDidChange();
    if (std::exchange(isLayoutPlanned_, true))
        return;
    performAfterDelay(/*seconds=*/0, this, [this] {
        isLayoutPlanned_ = false;
        layoutSubviewsAnimation(/*animation=*/true);
    });
}

void ImageFlowView::removeItem(const ImageFlowViewItemPtr &item) {
    const bool hadFocus = item->view()->isAncestorOf(focusWidget()) || item->view()->hasFocus();
    if (selectItem_ == item.get())
        selectedImageFlowItem(nullptr);
    item->view()->hide();
    item->view()->setParent(nullptr);
    cacheItems_.removeOne(item);
    if (hadFocus && countOfItems() > 0)
        itemOf(0)->view()->setFocus();
}

void ImageFlowView::addItem(const ImageFlowViewItemPtr &item, FlowItemView *below) {
    cacheItems_.append(item);
    FlowItemView *view = item->view();
    view->setParent(this);
    if (below)
        view->stackUnder(below);
    view->show();
    setTabOrder(this, view);
    setTabOrder(view, item->viewButton());
    setTabOrder(item->viewButton(), item->id3Button());
}

/// Tab comes to the chosen item, or to the first.
void ImageFlowView::updateTabStops() {
    const ImageFlowViewItem *stop = selectItem_;
    for (int i = 0; !stop && i < countOfItems(); ++i)
        if (const ImageFlowViewItemPtr item = itemOf(i); cacheItems_.contains(item))
            stop = item.get();
    for (const ImageFlowViewItemPtr &item : std::as_const(cacheItems_)) {
        Q_ASSERT(item);
        item->setIsTabStop(item.get() == stop);
    }
}

// Layout

void ImageFlowView::layoutSubviewsAnimation(bool animation) {
    const bool slides = animation && sight_.mayMove();
    if (!slides)
        endSlides();
    QWidgetList subviews;
    for (QObject *child : children())
        if (child->isWidgetType())
            subviews.append(static_cast<QWidget *>(child));
    slides_.clear();
    const QSizeF size = ViewLayout::layoutSubviews(subviews, rect(), parentWidget() ? parentWidget()->width() : 0,
                                                   [&](QWidget &subview, const QPoint &origin) {
                                                       if (slides)
                                                           startSlide(subview, origin);
                                                       else
                                                           subview.move(origin);
                                                   });
    resize(static_cast<int>(size.width()), static_cast<int>(size.height()));
    slideStart_ = -1;
    if (slides_.isEmpty())
        SceneClock::shared().remove(*this);
    else
        SceneClock::shared().add(*this);
}

// What comes from out of sight and goes out of sight need not take the way.
void ImageFlowView::startSlide(QWidget &view, const QPoint &to) {
    if (view.pos() == to)
        return;
    const QRect way = view.geometry().united(QRect(to, view.size()));
    const QRect seen = parentWidget() ? parentWidget()->rect().translated(-pos()) : rect();
    if (way.right() >= seen.left() && way.left() <= seen.right())
        slides_.append({&view, view.pos(), to});
    else
        view.move(to);
}

void ImageFlowView::endSlides() {
    SceneClock::shared().remove(*this);
    for (const Slide &slide : std::exchange(slides_, {}))
        if (slide.view)
            slide.view->move(slide.to);
}

void ImageFlowView::tick(qint64 milliseconds) {
    if (slideStart_ < 0)
        slideStart_ = milliseconds;
    const qreal progress = static_cast<qreal>(milliseconds - slideStart_) / kSlideMilliseconds;
    if (progress >= 1) {
        endSlides();
        return;
    }
    const qreal way = QEasingCurve(QEasingCurve::InOutCubic).valueForProgress(progress);
    for (const Slide &slide : std::as_const(slides_))
        if (slide.view)
            slide.view->move(slide.from + (QPointF(slide.to - slide.from) * way).toPoint());
}

// Selecting

void ImageFlowView::selectedImageFlowItem(ImageFlowViewItem *item) {
    if (item == selectItem_)
        return;
    if (selectItem_)
        selectItem_->setHighLight(/*isHighLight=*/false);
    selectItem_ = item;
    if (selectItem_)
        selectItem_->setHighLight(/*isHighLight=*/true);
    updateTabStops();
}

void ImageFlowView::flowItemButtonClicked(ImageFlowViewItem &item) {
    selectedImageFlowItem(&item);
    if (delegate_)
        delegate_->flowItemButtonClicked(item);
}

void ImageFlowView::flowItemID3ButtonClicked(ImageFlowViewItem &item) {
    selectedImageFlowItem(&item);
    if (delegate_)
        delegate_->flowItemID3ButtonClicked(item);
}

void ImageFlowView::flowItemMouseDown(ImageFlowViewItem &item, const QPoint &event) {
    selectedImageFlowItem(item.hitTest(event) ? &item : nullptr);
}

void ImageFlowView::flowItemDoubleClicked(ImageFlowViewItem &item, const QPoint &event) {
    if (delegate_ && item.hitTest(event))
        delegate_->flowItemDoubleClicked(item, event);
}

void ImageFlowView::flowItemDidFocus(ImageFlowViewItem &item) {
    selectedImageFlowItem(&item);
    emit wantsToBeSeen(item.view()->geometry());
}

void ImageFlowView::mousePressEvent(QMouseEvent *) { selectedImageFlowItem(nullptr); }

// Keys that an item or its buttons have no use for.
void ImageFlowView::keyPressEvent(QKeyEvent *event) {
    const int chosen = selectItem_ ? indexOf(selectItem_) : -1;
    switch (event->key()) {
    case Qt::Key_Left:
        stepTo(chosen - 1);
        return;
    case Qt::Key_Right:
        stepTo(chosen + 1);
        return;
    case Qt::Key_Home:
        stepTo(0);
        return;
    case Qt::Key_End:
        stepTo(countOfItems() - 1);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (selectItem_ && !event->isAutoRepeat())
            selectItem_->viewButtonClicked();
        return;
    case Qt::Key_Space:
        if (delegate_ && selectItem_ && !event->isAutoRepeat())
            delegate_->flowItemDoubleClicked(*selectItem_, {});
        return;
    default:
        event->ignore();
    }
}

void ImageFlowView::stepTo(int index) {
    const int count = countOfItems();
    if (count == 0)
        return;
    const ImageFlowViewItemPtr item = itemOf(qBound(0, index, count - 1));
    if (cacheItems_.contains(item))
        item->view()->setFocus(Qt::TabFocusReason);
}
