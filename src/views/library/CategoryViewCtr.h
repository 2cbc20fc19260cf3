// The tree of categories at the left of the library page.
//
// Threads: main.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class QWidget;
class MyOutlineView;

/// A node of the tree. Its localised title is its identity.
struct OutlineItem {
    QString category;
    QString image; ///< a name; may be empty
    int itemCount = 0;
    QList<std::shared_ptr<OutlineItem>> childs;
};

class CategoryViewCtrDelegate {
public:
    /// The user, or selectRow(), chose another row.
    virtual void outlineViewSelectionDidChange([[maybe_unused]] const OutlineItem &item) {}
    /// The number in the badge of a row, counted from the top; 0 shows none.
    virtual int badgeCount([[maybe_unused]] int row) const { return 0; }
    /// The user wants to rate the program at `address`. Must not wait for the browser.
    virtual void openRateAddress([[maybe_unused]] const QString &address) {}

protected:
    ~CategoryViewCtrDelegate() = default;
};

/// Rows: 0 "Library", 1 "Newly Recorded", 2 "All Music", 3 "Untagged Music", 4 "Tools", 5 "Music ToolKit". One is
/// always selected, and no header. Row 1 is selected from the start. Space posts "SpaceDownNotification".
class CategoryViewCtr final : public QObject {
    Q_OBJECT
public:
    static constexpr int kWidth = 187;

    explicit CategoryViewCtr(CategoryViewCtrDelegate &delegate);
    ~CategoryViewCtr() override;

    /// The tree; whoever shows it takes it over.
    QWidget *view() const;
    /// The tree without what stands below it.
    MyOutlineView *outlineView() const;
    /// The invisible root.
    const OutlineItem &libraryCategory() const { return libraryCategory_; }

    int selectedRow() const;
    /// Tells the delegate as a click does, if the row is another one. A header or a row that does not exist is ignored.
    void selectRow(int row);
    /// Looks at titles and badges again.
    void reloadData();

    /// Where the program can be rated. The panel that asks for it is shown only once there is such a place.
    void setRateAddress(const QString &address);
    /// Null while nobody is asked.
    QWidget *rateView() const;
    void gotoRate();
    void refuseCruelly();
    /// The panel comes back at the next start.
    void closeRefuse();

private:
    QWidget *makeRateView();

    CategoryViewCtrDelegate &delegate_;
    OutlineItem libraryCategory_;
    QPointer<QWidget> view_; // deleted here as long as nobody has taken it over
    QPointer<MyOutlineView> outlineView_;
    QPointer<QWidget> rateView_;
    QString rateAddress_;
};
