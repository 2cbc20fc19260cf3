// The window that weeds a list: short tracks, and songs that are there twice.
//
// Threads: main.
#pragma once

#include "views/dialogs/FilterAdsItem.h"

#include <QDialog>
#include <array>

class ElidedLabel;
class FilterTable;
class QComboBox;
class QCheckBox;
class QLabel;
class QPushButton;
class QStackedWidget;
class QTabBar;

/// What the user does in the window. Outlives its FilterView.
class FilterViewDelegate {
public:
    virtual void didSelectTab([[maybe_unused]] FilterTab tab) {}
    /// Another length was chosen; see FilterView::threshold().
    virtual void filterChange() {}
    /// Rows of `tab` were marked otherwise.
    virtual void didMark([[maybe_unused]] FilterTab tab) {}
    virtual void removeButtonClick() {}
    virtual void removeDuplicateSongs() {}
    virtual void undo() {}
    virtual void playSong([[maybe_unused]] const SongPtr &song) {}
    virtual void setAutomicFilterAction([[maybe_unused]] bool isOn) {}
    virtual void setFilterTime([[maybe_unused]] int seconds) {}
    /// The window closed, whatever closed it.
    virtual void windowDidClose() {}

protected:
    ~FilterViewDelegate() = default;
};

class FilterView : public QDialog {
    Q_OBJECT
public:
    FilterView(FilterViewDelegate &delegate, QWidget *parent);

    FilterTab tab() const;
    void selectTab(FilterTab tab);
    FilterTable *table(FilterTab tab) const { return tables_.at(static_cast<size_t>(tab)); }

    /// The choice of lengths; tells the delegate nothing.
    void setThresholds(const QStringList &titles, int selected);
    int threshold() const;
    /// The automatic filter as it is set; tells the delegate nothing.
    void setAutoFilter(bool isOn, qint64 seconds);

    /// `text` and a moving sign in place of the duplicates; null for the duplicates.
    void setSearching(const QString &text);
    /// What the marks of the shown list amount to.
    void setSummary(const QString &text);
    void setIsRemoveEnabled(bool isEnabled);
    /// What became of the last removal, and whether it can be undone.
    void setNotice(const QString &text, bool canUndo);
    /// Tracks began or ended to play.
    void updateRows();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QLayout *makeThresholds();
    QWidget *makeLists();
    QLayout *makeNews();
    QLayout *makeBottom();
    void tabDidChange();

    FilterViewDelegate &delegate_;
    QTabBar *tabs_;
    QStackedWidget *lists_;
    QComboBox *popUpButton_ = nullptr;
    QLabel *popUpHeader_ = nullptr;
    std::array<FilterTable *, 2> tables_{};
    QWidget *searching_ = nullptr;
    QLabel *progressText_ = nullptr;
    ElidedLabel *lblSummary_ = nullptr;
    ElidedLabel *lblNotice_ = nullptr;
    QPushButton *undoBtn_ = nullptr;
    QCheckBox *btnAutomicalFilter_ = nullptr;
    QComboBox *btnFilterItems_ = nullptr;
    QPushButton *removeButton_ = nullptr;
};
