// The strip of covers in the tag editor: one cell in sight, the others beside it.
//
// Threads: main. Pictures are read beside it (CoverCache.h).
#pragma once

#include "views/controls/KeyboardFocus.h"

#include <QImage>
#include <QList>
#include <QMimeData>
#include <QVariantAnimation>
#include <QWidget>
#include <memory>

/// One cell. A path that is not absolute names one of the program's own pictures.
class ImageBrowserItem {
public:
    const QString &imagePath() const { return imagePath_; }
    void setImagePath(const QString &imagePath) { imagePath_ = imagePath; }
    /// Shown under the mouse, and by the last cell when it comes into sight; null for none.
    const QString &highlightImagePath() const { return highlightImagePath_; }
    void setHighlightImagePath(const QString &imagePath) { highlightImagePath_ = imagePath; }
    /// What the cell is, for a screen reader.
    const QString &title() const { return title_; }
    void setTitle(const QString &title) { title_ = title; }
    /// A changed picture of the same path has another (SongItem::version()).
    int version() const { return version_; }
    void setVersion(int version) { version_ = version; }

private:
    QString imagePath_;
    QString highlightImagePath_;
    QString title_;
    int version_ = 0;
};

using ImageBrowserItemPtr = std::shared_ptr<ImageBrowserItem>;

class ImageBrowserView;

/// Places the cells: a row from the left, one per step.
class ImageBrowserLayout {
public:
    static constexpr int kItemWidth = 187;
    static constexpr int kItemHeight = 187;

    /// The middle of the cell in the row, counted from the lower left corner.
    static QPointF positionOfItem(int index);
};

/// Outlives its view.
class ImageBrowserDataSource {
public:
    virtual int numberOfItemsInImageBrowser(ImageBrowserView &browser) const = 0;
    /// Null beyond the end.
    virtual ImageBrowserItemPtr itemAtIndex(ImageBrowserView &browser, int index) const = 0;

protected:
    ~ImageBrowserDataSource() = default;
};

/// Outlives its view.
class ImageBrowserDelegate {
public:
    virtual void itemMouseDownAtIndex([[maybe_unused]] ImageBrowserView &browser, [[maybe_unused]] int index) {}
    virtual void itemMouseUpAtIndex([[maybe_unused]] ImageBrowserView &browser, [[maybe_unused]] int index) {}
    virtual void mouseEntered([[maybe_unused]] ImageBrowserView &browser) {}
    virtual void mouseExited([[maybe_unused]] ImageBrowserView &browser) {}
    /// A picture was dropped; whether it was taken.
    virtual bool dragFile([[maybe_unused]] ImageBrowserView &browser, [[maybe_unused]] const QMimeData &data) {
        return false;
    }
    /// The arrow keys ask for the cell before (-1) or behind (1) the one in sight.
    virtual void stepCover([[maybe_unused]] int step) {}
    /// Paste.
    virtual void pasteCover() {}
    /// Enter, Space, a click on the last cell, or the menu: a picture is to be chosen.
    virtual void chooseCover() {}

protected:
    ~ImageBrowserDelegate() = default;
};

class ImageBrowserView : public QWidget {
    Q_OBJECT
public:
    explicit ImageBrowserView(QWidget *parent);

    void setDataSource(ImageBrowserDataSource *dataSource) { dataSource_ = dataSource; }
    void setDelegate(ImageBrowserDelegate *delegate) { delegate_ = delegate; }

    void setIsEditable(bool isEditable);
    bool isEditable() const { return isEditable_; }

    /// Asks for all cells anew.
    void reloadData();
    /// Goes to a cell; an index beyond the last one goes to the first. It slides there if `animated`, seen, and wanted
    /// by the user.
    void scrollIndexToVisible(int index, bool animated = false);
    int visibleItemIndex() const { return visibleItemIndex_; }
    /// Whether the last cell is the one in sight.
    bool isLastObjectIndex() const;
    /// The picture that a cell shows now.
    QString shownImagePath(int index) const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    int itemAt(const QPoint &point) const;
    void drawItem(QPainter &painter, int index, const QPoint &corner);
    QImage coverOf(const ImageBrowserItem &item, const QString &path);
    bool takesDrop(const QMimeData &offer) const;
    void setIsDropWelcome(bool isDropWelcome);
    void tellScreenReader();

    ImageBrowserDataSource *dataSource_ = nullptr;
    ImageBrowserDelegate *delegate_ = nullptr;
    QList<ImageBrowserItemPtr> cacheItems_;
    int visibleItemIndex_ = 0;
    bool isEditable_ = false;
    bool isMouseIn_ = false;
    bool isHighlighted_ = false; // the cell in sight shows its highlight: under the mouse, or come to as the last one
    bool isDropWelcome_ = false;
    int pressedItem_ = -1;
    qreal scrolledTo_ = 0; // pixels of the row that are out of sight at its left
    QVariantAnimation scroll_;
    KeyboardFocus keyboardFocus_;
};
