#include "views/window/MainWindowView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/PlaySliderBar.h"
#include "views/controls/SearchField.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchButton.h"
#include "views/controls/SoundSlider.h"
#include "views/controls/TextButton.h"
#include "views/recording/RecordingPage.h"
#include "views/window/DisplayBox.h"
#include "views/window/LibraryPage.h"
#include "views/window/PlayPanel.h"
#include "views/window/StatusLine.h"
#include "views/window/TabButton.h"

#include <QAccessibleWidget>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>

namespace {

constexpr QSize kRecordSize(56, 56);
constexpr QSize kRoundSize(38, 38); // cut, play
constexpr QSize kSpeakerSize(14, 24);
constexpr QSize kMenuSize(24, 24);

// From the left: record, cut, play, then the box with the volume behind it. From the right: the menu, the two tabs, the
// search field. In a wider window the field grows to its full width, and the box goes to the middle.
constexpr int kRecordMiddle = 46;
constexpr int kCutMiddle = 104;
constexpr int kPlayMiddle = 152;
constexpr int kBoxLeft = 183;
constexpr int kVolumeGap = 1; // the speaker's widget has a margin of its own
constexpr int kSliderGap = 3; // between a speaker and the slider
constexpr int kVolumeWidth = 64;
constexpr int kVolumeHeight = 28;
constexpr int kMenuMiddleFromRight = 20 + SketchButton::kFocusMargin;
constexpr int kTabsRight = 42; // from the right edge of the window to that of the library tab's drawing
constexpr int kTabGap = 2;
constexpr int kSearchGap = 5; // between field and tabs
constexpr int kSearchHeight = 26;
constexpr int kSmallestSearch = 82;
constexpr int kLargestSearch = 200;

constexpr int kLowerMargin = 8;
constexpr int kLowerGap = 5; // at each side of a separator
constexpr int kSeparatorHeight = 10;

void placeMiddle(QWidget &widget, int x) {
    widget.move(x - widget.width() / 2, (MainWindowView::kToolbarHeight - widget.height()) / 2);
}

/// Puts the drawing of a button at `x`, and gives back where the drawing ends.
int placeDrawing(QWidget &button, int x) {
    button.move(x - SketchButton::kFocusMargin, (MainWindowView::kToolbarHeight - button.height()) / 2);
    return x + button.width() - 2 * SketchButton::kFocusMargin;
}

QIcon programIcon() {
    QIcon icon;
    for (const int side : {16, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(imageNamed(QStringLiteral("icon"), {side, side}));
    return icon;
}

SketchImages speakerImages(const QString &name) {
    return {.rest = name, .hover = {}, .pressed = {}, .disabled = name + QStringLiteral("_disabled")};
}

SketchImages tabImages(const QString &name, bool isSelected) {
    if (isSelected)
        return {.rest = name + QStringLiteral("-sel"),
                .hover = name + QStringLiteral("-sel"),
                .pressed = name + QStringLiteral("-down"),
                .disabled = {}};
    return {.rest = name + QStringLiteral("-dis"),
            .hover = name + QStringLiteral("-dis-hover"),
            .pressed = name + QStringLiteral("-dis-down"),
            .disabled = {}};
}

/// A screen reader looks for windows by their role, which a plain widget does not have.
QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *window = qobject_cast<MainWindowView *>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

/// The straight stroke between two words of the lower bar.
class Separator : public QWidget {
public:
    explicit Separator(QWidget *parent) : QWidget(parent) { setFixedSize(1, kSeparatorHeight); }

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), lookColour(LookColour::Line)); }
};

} // namespace

SketchImages recorderImages() {
    return {.rest = QStringLiteral("Recorder"),
            .hover = QStringLiteral("Recorder_Hover"),
            .pressed = QStringLiteral("Recorder_Down"),
            .disabled = {}};
}

SketchImages recorderStopImages() {
    return {.rest = QStringLiteral("Recorder_Stop_On"),
            .hover = QStringLiteral("Recorder_Stop_Hover"),
            .pressed = QStringLiteral("Recorder_Stop_Down"),
            .disabled = {}};
}

MainWindowView::MainWindowView()
    : recordingBtn_(new SketchButton(recorderImages(), kRecordSize, localizedString("Record"), this)),
      cutBtn_(new SketchButton({.rest = QStringLiteral("cut"),
                                .hover = QStringLiteral("cut-hover"),
                                .pressed = QStringLiteral("cut-down"),
                                .disabled = QStringLiteral("cut-disabled")},
                               kRoundSize, localizedString("Cut"), this)),
      playBtn_(new SketchButton(playImages(), kRoundSize, localizedString("Play"), this)),
      displayBox_(new DisplayBox(this)),
      minVolumeBtn_(new SketchButton(speakerImages(QStringLiteral("speaker_small")), kSpeakerSize,
                                     localizedString("Mute"), this)),
      soundSlider_(new SoundSlider(this)),
      maxVolumeBtn_(new SketchButton(speakerImages(QStringLiteral("speaker_large")), kSpeakerSize,
                                     localizedString("Full volume"), this)),
      searchField_(new SearchField(this)),
      recorderBtn_(new TabButton(localizedString("Recording"), this)),
      libraryBtn_(new TabButton(localizedString("Library"), this)),
      menuBtn_(new SketchButton({.rest = QStringLiteral("menu"), .hover = {}, .pressed = {}, .disabled = {}}, kMenuSize,
                                localizedString("Menu"), this)),
      pages_(new QStackedWidget(this)),
      recordingPage_(new RecordingPage(pages_)),
      lblStatus_(new StatusLine(this)),
      filteradsBtn_(new TextButton(localizedString("Filter"), this)),
      firstSepImg_(new Separator(this)),
      showFinderBtn_(new TextButton(localizedString("Show"), this)),
      secondSepImag_(new Separator(this)),
      addToItunesBtn_(new TextButton(localizedString("Hand over"), this)),
      editBtn_(new TextButton(localizedString("Info"), this)),
      menu_(new QMenu(menuBtn_)) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    setWindowIcon(programIcon());
    // Its parts stand from the left to the right in every language. A painter asks the program and not its widget for
    // the direction, so that each that draws texts is told.
    setLayoutDirection(Qt::LeftToRight);
    setMinimumSize(RecordingPage::kSize + QSize(0, kToolbarHeight + StatusLine::kHeight));
    resize(minimumSize());
    fillToolbar();
    fillLowerBar();
    addPage(*recordingPage_);
    Look::shared().dress(*this);
    Look::shared().dress(*menu_); // a menu is a window of its own
    menu_->setFont(lookFont(kListPixels));
    menu_->setLayoutDirection(QGuiApplication::layoutDirection());
    menuBtn_->setMenu(menu_);
    connect(menuBtn_, &SketchButton::clicked, this, &MainWindowView::showMenu);
    connect(new QShortcut(Qt::Key_F10, this), &QShortcut::activated, this, &MainWindowView::showMenu);
    setTabOrders();
    // Space records from the start, without a focus line before the keyboard is used.
    recordingBtn_->setFocus(Qt::OtherFocusReason);
}

MainWindowView::~MainWindowView() = default;

void MainWindowView::fillToolbar() {
    cutBtn_->setToolTip(localizedString("Cut to another recording"));
    soundSlider_->setSoundSliderBackImg(QStringLiteral("Volume_Bac_Empty.png"));
    soundSlider_->setSoundSliderImg(QStringLiteral("Volume_bac_fill.png"));
    soundSlider_->setSoundSliderBtn(QStringLiteral("Volume_btn.png"));
    soundSlider_->resize(kVolumeWidth, kVolumeHeight);
    searchField_->hide();
    setButtonImage2(/*tab=*/0);
}

void MainWindowView::fillLowerBar() {
    filteradsBtn_->setToolTip(localizedString("Filter"));
    showFinderBtn_->setToolTip(localizedString("Show in Finder"));
    addToItunesBtn_->setToolTip(localizedString("Add to iTunes"));
    editBtn_->setToolTip(localizedString("Show or hide track info"));
    setEditImages(*editBtn_, /*isExpanded=*/false);
    editBtn_->hide();
    setBelowHided(/*isHidden=*/true);
}

void MainWindowView::addPage(QWidget &page) { pages_->addWidget(&page); }

void MainWindowView::showPage(QWidget &page) {
    pages_->setCurrentWidget(&page);
    setTabOrders();
}

void MainWindowView::setButtonImage2(int tab) {
    recorderBtn_->setChecked(tab == 0);
    libraryBtn_->setChecked(tab == 1);
    recorderBtn_->setImages(tabImages(QStringLiteral("recording"), tab == 0), recorderBtn_->text());
    libraryBtn_->setImages(tabImages(QStringLiteral("library"), tab == 1), libraryBtn_->text());
}

QList<QWidget *> MainWindowView::lowerControls() const {
    return {filteradsBtn_, firstSepImg_, showFinderBtn_, secondSepImag_, addToItunesBtn_};
}

void MainWindowView::setBelowHided(bool isHidden) {
    isBelowHidden_ = isHidden;
    for (QWidget *control : lowerControls())
        control->setVisible(!isHidden);
    placeLowerBar();
}

// The toolbar from left to right, the page, the lower bar from left to right. A page may get its contents late.
void MainWindowView::setTabOrders() {
    QWidget *last = recordingBtn_;
    const auto append = [&](QWidget *next) {
        setTabOrder(last, next);
        last = next;
    };
    for (QWidget *control : std::initializer_list<QWidget *>{
             cutBtn_, playBtn_, displayBox_->playPanel()->playSliderBar(), minVolumeBtn_, soundSlider_, maxVolumeBtn_,
             searchField_, recorderBtn_, libraryBtn_, menuBtn_})
        append(control);
    for (QWidget *control = pages_->nextInFocusChain(); control != this; control = control->nextInFocusChain()) {
        if (pages_->isAncestorOf(control) && control->focusPolicy() != Qt::NoFocus)
            last = control;
    }
    for (QWidget *control : std::initializer_list<QWidget *>{filteradsBtn_, showFinderBtn_, addToItunesBtn_, editBtn_})
        append(control);
}

void MainWindowView::center() {
    QRect place = frameGeometry();
    place.moveCenter(screen()->availableGeometry().center());
    move(place.topLeft());
}

void MainWindowView::showMenu() {
    const QPoint corner = menuBtn_->mapToGlobal(menuBtn_->rect().bottomRight());
    menu_->popup(corner - QPoint(menu_->sizeHint().width() - 1, -4));
}

void MainWindowView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), kToolbarHeight), lookColour(LookColour::Paper2));
    painter.setPen(sketchPen(lookColour(LookColour::Line), 1));
    painter.drawLine(QPointF(0, kToolbarHeight - 0.5), QPointF(width(), kToolbarHeight - 0.5));
}

void MainWindowView::resizeEvent(QResizeEvent *) {
    placeToolbar();
    const int pageHeight = height() - kToolbarHeight - StatusLine::kHeight;
    pages_->setGeometry(0, kToolbarHeight, width(), pageHeight);
    lblStatus_->setGeometry(0, kToolbarHeight + pageHeight, width(), StatusLine::kHeight);
    placeLowerBar();
}

void MainWindowView::placeToolbar() {
    placeMiddle(*recordingBtn_, kRecordMiddle);
    placeMiddle(*cutBtn_, kCutMiddle);
    placeMiddle(*playBtn_, kPlayMiddle);

    placeMiddle(*menuBtn_, width() - kMenuMiddleFromRight);
    const int tabWidth = libraryBtn_->width() - 2 * SketchButton::kFocusMargin;
    const int tabsLeft = width() - kTabsRight - 2 * tabWidth - kTabGap;
    placeDrawing(*libraryBtn_, placeDrawing(*recorderBtn_, tabsLeft) + kTabGap);
    const int spare = width() - minimumWidth();
    const int searchWidth = qMin(kSmallestSearch + spare / 2, kLargestSearch);
    searchField_->setGeometry(tabsLeft - kSearchGap - searchWidth, (kToolbarHeight - kSearchHeight) / 2, searchWidth,
                              kSearchHeight);

    const int volumeLeft = displayBox_->width() + kVolumeGap + SketchButton::kFocusMargin; // from the box's left edge
    const int middleWidth = volumeLeft + 2 * (kSpeakerSize.width() + kSliderGap) + kVolumeWidth;
    const int rightmost = searchField_->x() - SketchButton::kFocusMargin - middleWidth;
    const int boxLeft = qMax(kBoxLeft, qMin((width() - middleWidth) / 2, rightmost));
    displayBox_->move(boxLeft, (kToolbarHeight - displayBox_->height()) / 2);
    const int sliderLeft = placeDrawing(*minVolumeBtn_, boxLeft + volumeLeft) + kSliderGap;
    soundSlider_->move(sliderLeft, (kToolbarHeight - kVolumeHeight) / 2);
    placeDrawing(*maxVolumeBtn_, sliderLeft + kVolumeWidth + kSliderGap);
}

void MainWindowView::placeLowerBar() {
    const QRect bar = lblStatus_->geometry();
    const auto place = [&](QWidget &control, int x) {
        control.move(x, bar.top() + (bar.height() - control.height()) / 2 + 1);
    };
    int x = kLowerMargin;
    for (QWidget *control : lowerControls()) {
        if (qobject_cast<TextButton *>(control))
            control->resize(control->sizeHint());
        place(*control, x);
        x += control->width() + kLowerGap;
    }
    editBtn_->resize(editBtn_->sizeHint());
    place(*editBtn_, width() - kLowerMargin - editBtn_->width());
    if (isBelowHidden_)
        lblStatus_->setEnds(0, 0);
    else
        lblStatus_->setEnds(x, width() - editBtn_->x());
}

void MainWindowView::closeEvent(QCloseEvent *event) { event->setAccepted(!shouldClose_ || shouldClose_()); }
