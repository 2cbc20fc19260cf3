// One track in the strip of the recording page: its cover, title, artist, and how far its identification is.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"
#include "views/controls/KeyboardFocus.h"

#include <QImage>
#include <QPointer>
#include <QWidget>

class ImageFlowViewItem;
class ProgressView;
class SketchButton;

/// Hears what is done in an item. Outlives who speaks. `event` is a point of the window.
class ImageFlowViewDelegate {
public:
    virtual void flowItemButtonClicked([[maybe_unused]] ImageFlowViewItem &item) {}
    virtual void flowItemID3ButtonClicked([[maybe_unused]] ImageFlowViewItem &item) {}
    virtual void flowItemMouseDown([[maybe_unused]] ImageFlowViewItem &item, [[maybe_unused]] const QPoint &event) {}
    virtual void flowItemDoubleClicked([[maybe_unused]] ImageFlowViewItem &item, [[maybe_unused]] const QPoint &event) {
    }
    /// The keyboard came to the item.
    virtual void flowItemDidFocus([[maybe_unused]] ImageFlowViewItem &item) {}
    /// Whether there is somebody who can identify tracks. What asks for it is not shown otherwise.
    virtual bool canIdentify() const { return false; }

protected:
    ~ImageFlowViewDelegate() = default;
};

/// What an item looks like. The strip may still hold it, hidden, when its item has gone.
class FlowItemView : public QWidget {
    Q_OBJECT
public:
    explicit FlowItemView(ImageFlowViewItem &owner);

    /// Null once the item has gone.
    ImageFlowViewItem *owner() const { return owner_; }
    void forgetOwner() { owner_ = nullptr; }

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void drawCover(QPainter &painter) const;
    void drawLines(QPainter &painter) const;

    ImageFlowViewItem *owner_;
    KeyboardFocus keyboardFocus_;
};

class ImageFlowViewItem final {
public:
    /// Of the item's view, which stands just left of the strip before it slides in.
    static constexpr QRect kFrame{-110, 0, 110, 131};
    static constexpr QSize kImageSize{80, 80};

    ImageFlowViewItem();
    ~ImageFlowViewItem();
    ImageFlowViewItem(const ImageFlowViewItem &) = delete;
    ImageFlowViewItem &operator=(const ImageFlowViewItem &) = delete;

    FlowItemView *view() const { return view_; }
    void setDelegate(ImageFlowViewDelegate *delegate) { delegate_ = delegate; }
    const SongPtr &extendObject() const { return extendObject_; }
    void setExtendObject(const SongPtr &song) { extendObject_ = song; }

    void setTitle(const QString &title);
    const QString &title() const { return title_; }
    void setSubTitle(const QString &subTitle);
    const QString &subTitle() const { return subTitle_; }
    /// A picture of the program's own; its name is null while there is another one or none.
    void setImageNamed(const QString &name);
    const QString &imageName() const { return imageName_; }
    /// A null one leaves the cover empty.
    void setImage(const QImage &image);
    const QImage &image() const { return image_; }

    /// Shows how far the identification is, an ID3Status. Of an unknown one the controls stay as they are.
    void setStatus(int32_t status);
    int32_t status() const { return status_; }

    void setHighLight(bool isHighLight);
    bool isHighLight() const { return isHighLight_; }
    /// Whether Tab comes to the item, and behind it to its buttons.
    void setIsTabStop(bool isTabStop);
    /// Whether the window's point lies on something of the item that can be chosen.
    bool hitTest(const QPoint &point) const;

    SketchButton *viewButton() const { return viewButton_; }
    SketchButton *id3Button() const { return id3Button_; }
    ProgressView *progress() const { return progress_; }
    /// What stands over the cover while the track is being identified, and while it is not, null.
    QString waitTitle() const;

    // What the view meets
    void mouseDown(const QPoint &event);
    void doubleClicked(const QPoint &event);
    void didFocus();
    void viewButtonClicked();

private:
    void id3ButtonClicked();
    void showProgress(bool isShown);
    void showID3Button(bool isShown, bool isEnabled);
    void tellScreenReader();

    QPointer<FlowItemView> view_; // the strip may go first, and takes it along
    QWidget *coverContainer_;
    SketchButton *viewButton_;
    SketchButton *id3Button_;
    ProgressView *progress_;
    ImageFlowViewDelegate *delegate_ = nullptr;
    SongPtr extendObject_;
    QString title_;
    QString subTitle_;
    QString imageName_;
    QImage image_;
    int32_t status_ = 0;
    bool hasIdentifyed_ = false; // until the track waits again
    bool isHighLight_ = false;
};
