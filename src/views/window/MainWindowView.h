// The main window: toolbar, pages, status line.
//
// Threads: main.
#pragma once

#include <QWidget>
#include <functional>

class DisplayBox;
class QMenu;
class QStackedWidget;
class RecordingPage;
class SketchButton;
class StatusLine;
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
    DisplayBox *displayBox() const { return displayBox_; }
    RecordingPage *recordingPage() const { return recordingPage_; }
    /// Puts a page between toolbar and status line, which own its place from then on.
    void addPage(QWidget &page);
    void showPage(QWidget &page);
    StatusLine *lblStatus() const { return lblStatus_; }
    /// The menu behind the button at the right; empty, so that the program fills it.
    QMenu *menu() const { return menu_; }

    /// Puts the window in the middle of its screen, where the desktop lets a window choose.
    void center();

    /// Asked when the user closes the window; true lets it close.
    void setShouldClose(std::function<bool()> shouldClose) { shouldClose_ = std::move(shouldClose); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void showMenu();

    SketchButton *recordingBtn_;
    SketchButton *cutBtn_;
    DisplayBox *displayBox_;
    SketchButton *menuBtn_;
    QStackedWidget *pages_;
    RecordingPage *recordingPage_;
    StatusLine *lblStatus_;
    QMenu *menu_;
    std::function<bool()> shouldClose_;
};
