// The frame of the library page: the tree of categories at the left, the list beside it, and at the right the tag
// editor, out of sight until it is opened.
//
// Threads: main.
#pragma once

#include <QVariantAnimation>
#include <QWidget>

class TextButton;

/// Gives the button that opens and closes the tag editor its sign.
void setEditImages(TextButton &button, bool isExpanded);

class LibraryPage : public QWidget {
    Q_OBJECT
public:
    static constexpr int kSideWidth = 187; // of the tree and of the tag editor

    explicit LibraryPage(QWidget *parent);

    QWidget *categoryBox() const { return categoryBox_; }
    /// 713 wide in the smallest window, 526 with the tag editor open.
    QWidget *displayBox() const { return displayBox_; }
    QWidget *editBox() const { return editBox_; }

    /// Each takes its place as a whole and belongs to the page from then on. A display view that was there before is
    /// kept, hidden.
    void setCategoryView(QWidget *view);
    void setDisplayView(QWidget *view);
    void setEditView(QWidget *view);

    /// Slides the tag editor in or out in 0.3 s. It jumps where that is not `animated`, not seen, or not wanted by the
    /// user.
    void setExpanded(bool isExpanded, bool animated);
    bool isExpanded() const { return isExpanded_; }

signals:
    /// The tag editor stands where it was to go.
    void expansionFinished();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void setEditWidth(int width);
    void placeBoxes();

    QWidget *categoryBox_;
    QWidget *displayBox_;
    QWidget *editBox_;
    QWidget *categoryRule_;
    QWidget *editRule_;
    QVariantAnimation slide_;
    int editWidth_ = 0; // how much of the tag editor is in sight
    bool isExpanded_ = false;
};
