// The rows of a popup menu, at one of its two levels.
//
// Threads: main.
#pragma once

#include <QListView>

/// A row of a popup menu.
struct MyMenuItemController {
    QString title;
    QString image;                ///< a name
    bool isAddItunesItem = false; ///< leads to a further level
    bool isEnabled = true;
};

/// Posted when a row is chosen, with its title under "title".
inline constexpr const char *kMenuItemClickNotification = "menuItemClickEvenNotificatioin";

/// Filled by setMenuItemArray(), setMenuLevel() and showView(), in this order.
class MyMenuViewController : public QListView {
    Q_OBJECT
public:
    static constexpr int kRowHeight = 28;

    explicit MyMenuViewController(QWidget *parent);

    /// The first one is the lowest row.
    void setMenuItemArray(const QList<MyMenuItemController> &items) { menuItemArray_ = items; }
    const QList<MyMenuItemController> &menuItemArray() const { return menuItemArray_; }
    /// 1 or 2.
    void setMenuLevel(int menuLevel) { menuLevel_ = menuLevel; }
    int menuLevel() const { return menuLevel_; }
    /// Lays the rows out. The second level shows five at most, and scrolls.
    void showView();

    /// Index into the array of the row that is marked; -1 for none.
    int selectedMenuItemIndex() const;
    /// Marks one row; -1 for none.
    void setSelectedMenuItemIndex(int index);
    void selectTopRow();
    /// Says that the row was clicked. A disabled one says nothing.
    void chooseItem(int index);
    /// Of the window around the rows.
    QSize windowSize() const;
    /// As in "layer1_top.png"; `part` is "top", "middle" or "bottom".
    QString frameImage(const char *part) const;

signals:
    /// The left arrow key was pressed.
    void didStepBack();

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    int indexAtRow(int row) const { return static_cast<int>(menuItemArray_.size()) - 1 - row; }

    QList<MyMenuItemController> menuItemArray_;
    int menuLevel_ = 1;
};
