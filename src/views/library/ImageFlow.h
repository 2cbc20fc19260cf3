// The cover flow above the table: covers in perspective, the chosen one in the middle.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"

#include <QPolygonF>
#include <QVariantAnimation>
#include <QWidget>

class IKImageFlowView;

/// Says what the flow shows. Asked for what is seen only.
class ImageFlowDataSource {
public:
    virtual int numberOfItemsInImageFlow(IKImageFlowView &flow) const = 0;
    /// Null beyond the end.
    virtual SongPtr itemAtIndex(IKImageFlowView &flow, int index) const = 0;

protected:
    ~ImageFlowDataSource() = default;
};

/// Hears what the user did.
class ImageFlowDelegate {
public:
    /// Another item stands in the middle, by the user's hand or by setSelectedIndex().
    virtual void didSelectItemAtIndex([[maybe_unused]] IKImageFlowView &flow, [[maybe_unused]] int index) {}
    virtual void cellWasDoubleClickedAtIndex([[maybe_unused]] IKImageFlowView &flow, [[maybe_unused]] int index) {}

protected:
    ~ImageFlowDelegate() = default;
};

/// Wheel, arrow keys, Home, End, Page Up and Down, a click beside the middle and dragging choose another one; a double
/// click or Enter tells the delegate.
class IKImageFlowView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kHeight = 170;
    static constexpr int kGlideMilliseconds = 250;

    explicit IKImageFlowView(QWidget *parent);

    void setDelegate(ImageFlowDelegate *delegate);
    void setDataSource(ImageFlowDataSource *dataSource);

    /// Looks at the data source again; the index stays, or becomes the last one there is.
    void reloadData();
    /// The item in the middle; -1 when there are none.
    int selectedIndex() const;
    /// Glides there, unless the user wants no motion. Tells the delegate at once, if the index is another one.
    void setSelectedIndex(int index);

    /// How many there were when reloadData() looked.
    int numberOfItems() const { return numberOfItems_; }
    /// "Title, Artist" of the one in the middle; empty when there are none.
    QString selectedText();
    /// The item drawn at `point`; -1 beside all of them.
    int indexAt(const QPointF &point) const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    /// The corners of a cover `places` right of the middle: upper left, upper right, lower right, lower left.
    QPolygonF corners(qreal places) const;
    QPolygonF cornersAtPlace(int place) const;
    QList<int> seenIndexes() const;
    QSize coverPixels() const;

    bool select(int index);
    void glide();
    void stopGliding();
    void askForCovers(const QList<int> &seen);
    void drawCover(QPainter &painter, int index);
    void drawEmptyFrame(QPainter &painter) const;
    void drawTitle(QPainter &painter);
    void tellAccessibility();
    SongPtr songAt(int index);

    ImageFlowDelegate *delegate_ = nullptr;
    ImageFlowDataSource *dataSource_ = nullptr;
    int numberOfItems_ = 0;
    int selectedIndex_ = -1;
    qreal position_ = 0; // the index that stands in the middle; between two of them while something moves
    QVariantAnimation animation_;
    int wheelRest_ = 0;     // eighths of a degree that make no whole step yet
    int pressedIndex_ = -1; // what the button went down on
    QPointF pressedPoint_;
    qreal pressedPosition_ = 0;
    bool isPressed_ = false;
    bool isDragging_ = false;
    bool isFocusShown_ = false; // the focus came by the keyboard
};
