// The strip of the tracks recorded in this run: flat, the items side by side, sliding into place.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"
#include "views/recording/ImageFlowViewItem.h"
#include "views/recording/SceneClock.h"

#include <functional>

using ImageFlowViewItemPtr = std::shared_ptr<ImageFlowViewItem>;

class ImageFlowView;

/// Outlives its view.
class ImageFlowViewDataSource {
public:
    virtual int numberOfItemsInFlowView(const ImageFlowView &flowView) const = 0;
    /// Null beyond the end.
    virtual ImageFlowViewItemPtr itemAtIndex(const ImageFlowView &flowView, int index) const = 0;

protected:
    ~ImageFlowViewDataSource() = default;
};

/// Places the items: a row from the left, without gaps.
class ViewLayout {
public:
    /// Says where each of `subviews` goes in a view of `bounds`; one of another class than FlowItemView is left out.
    /// Gives back the size of the view, which fills a superview `superviewWidth` wide.
    static QSizeF layoutSubviews(const QWidgetList &subviews, const QRect &bounds, qreal superviewWidth,
                                 const std::function<void(QWidget &subview, const QPoint &origin)> &setFrameOrigin);
};

class ImageFlowView : public QWidget, public ImageFlowViewDelegate, private SceneMover {
    Q_OBJECT
public:
    static constexpr int kSlideMilliseconds = 2000;

    explicit ImageFlowView(QWidget *parent);
    ~ImageFlowView() override;

    void setDelegate(ImageFlowViewDelegate *delegate) { delegate_ = delegate; }
    void setDataSource(ImageFlowViewDataSource *dataSource) { dataSource_ = dataSource; }

    /// Takes over what came and went. The event loop has a turn before the items move to their new places.
    void reloadData();
    /// Those shown, in the order in which they came.
    const QList<ImageFlowViewItemPtr> &cacheItems() const { return cacheItems_; }
    /// What can't be seen to move, or shall not, is there at once.
    void layoutSubviewsAnimation(bool animation);
    /// Null for none.
    void selectedImageFlowItem(ImageFlowViewItem *item);
    ImageFlowViewItem *selectItem() const { return selectItem_; }

    void flowItemButtonClicked(ImageFlowViewItem &item) override;
    void flowItemID3ButtonClicked(ImageFlowViewItem &item) override;
    void flowItemMouseDown(ImageFlowViewItem &item, const QPoint &event) override;
    void flowItemDoubleClicked(ImageFlowViewItem &item, const QPoint &event) override;
    void flowItemDidFocus(ImageFlowViewItem &item) override;
    bool canIdentify() const override { return delegate_ && delegate_->canIdentify(); }

    /// Public for who has a clock of their own.
    void tick(qint64 milliseconds) override;

signals:
    /// This part of the strip was chosen by key.
    void wantsToBeSeen(const QRect &part);
    /// Items came or went.
    void cacheItemsDidChange();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    struct Slide {
        QPointer<QWidget> view;
        QPoint from;
        QPoint to;
    };

    ImageFlowViewItemPtr itemOf(int index) const;
    int indexOf(const ImageFlowViewItem *item) const;
    int countOfItems() const;
    void removeItem(const ImageFlowViewItemPtr &item);
    void addItem(const ImageFlowViewItemPtr &item, FlowItemView *below);
    void updateTabStops();
    void stepTo(int index);
    void startSlide(QWidget &view, const QPoint &to);
    void endSlides();

    ImageFlowViewDelegate *delegate_ = nullptr;
    ImageFlowViewDataSource *dataSource_ = nullptr;
    QList<ImageFlowViewItemPtr> cacheItems_;
    ImageFlowViewItem *selectItem_ = nullptr; // one of cacheItems_
    SightWatch sight_{*this};
    QList<Slide> slides_;
    qint64 slideStart_ = -1; // on the clock; negative until the first tick
    bool isLayoutPlanned_ = false;
};
