// The main window: toolbar, pages, and the bar under them.
//
// Threads: main.
#pragma once

#include <QWidget>
#include <functional>

class DisplayBox;
class QMenu;
class QStackedWidget;
class RecordingPage;
class SearchField;
class SketchButton;
class SoundSlider;
class StatusLine;
class TabButton;
class TextButton;
struct SketchImages;

/// The drawings of the record button while nothing records, and while something does.
SketchImages recorderImages();
SketchImages recorderStopImages();

class MainWindowView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kToolbarHeight = 92;

    MainWindowView();
    ~MainWindowView() override;

    SketchButton *recordingBtn() const { return recordingBtn_; }
    SketchButton *cutBtn() const { return cutBtn_; }
    SketchButton *playBtn() const { return playBtn_; }
    DisplayBox *displayBox() const { return displayBox_; }
    SketchButton *minVolumeBtn() const { return minVolumeBtn_; }
    SoundSlider *soundSlider() const { return soundSlider_; }
    SketchButton *maxVolumeBtn() const { return maxVolumeBtn_; }
    SearchField *searchField() const { return searchField_; }
    TabButton *recorderBtn() const { return recorderBtn_; }
    TabButton *libraryBtn() const { return libraryBtn_; }
    TextButton *filteradsBtn() const { return filteradsBtn_; }
    TextButton *showFinderBtn() const { return showFinderBtn_; }
    TextButton *addToItunesBtn() const { return addToItunesBtn_; }
    TextButton *editBtn() const { return editBtn_; }
    StatusLine *lblStatus() const { return lblStatus_; }
    /// The menu behind the button at the right; empty, so that the program fills it. F10 opens it.
    QMenu *menu() const { return menu_; }

    RecordingPage *recordingPage() const { return recordingPage_; }
    /// Puts a page between toolbar and status line, which own its place from then on.
    void addPage(QWidget &page);
    void showPage(QWidget &page);

    /// Marks the tab as selected: 0 recording, 1 library.
    void setButtonImage2(int tab);
    /// Hides or shows the buttons at the left end of the lower bar; from the start they are hidden, as are editBtn()
    /// and searchField().
    void setBelowHided(bool isHidden);
    bool isBelowHided() const { return isBelowHidden_; }

    /// Puts the window in the middle of its screen, where the desktop lets a window choose.
    void center();

    /// Asked when the user closes the window; true lets it close.
    void setShouldClose(std::function<bool()> shouldClose) { shouldClose_ = std::move(shouldClose); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void fillToolbar();
    void fillLowerBar();
    void placeToolbar();
    void placeLowerBar();
    void setTabOrders();
    QList<QWidget *> lowerControls() const;
    void showMenu();

    SketchButton *recordingBtn_;
    SketchButton *cutBtn_;
    SketchButton *playBtn_;
    DisplayBox *displayBox_;
    SketchButton *minVolumeBtn_;
    SoundSlider *soundSlider_;
    SketchButton *maxVolumeBtn_;
    SearchField *searchField_;
    TabButton *recorderBtn_;
    TabButton *libraryBtn_;
    SketchButton *menuBtn_;
    QStackedWidget *pages_;
    RecordingPage *recordingPage_;
    StatusLine *lblStatus_;
    TextButton *filteradsBtn_;
    QWidget *firstSepImg_;
    TextButton *showFinderBtn_;
    QWidget *secondSepImag_;
    TextButton *addToItunesBtn_;
    TextButton *editBtn_;
    QMenu *menu_;
    std::function<bool()> shouldClose_;
    bool isBelowHidden_ = true;
};
