#include "views/window/MainWindowView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchButton.h"
#include "views/recording/RecordingPage.h"
#include "views/recording/RunTracksView.h"
#include "views/window/DisplayBox.h"
#include "views/window/StatusLine.h"

#include <QCloseEvent>
#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QStackedWidget>

namespace {

constexpr QSize kRecordSize(56, 56);
constexpr QSize kCutSize(38, 38);
constexpr QSize kMenuSize(24, 24);

// From the left: record, cut, play (middle at 152), the box up to 551, then the volume up to 656, the search field up
// to 744, the two tabs up to 860, the menu.
constexpr int kRecordMiddle = 46;
constexpr int kCutMiddle = 104;
constexpr int kBoxLeft = 183;
constexpr int kMenuMiddleFromRight = 20 + SketchButton::kFocusMargin;

void placeMiddle(QWidget &widget, int x) {
    widget.move(x - widget.width() / 2, (MainWindowView::kToolbarHeight - widget.height()) / 2);
}

QIcon programIcon() {
    QIcon icon;
    for (const int side : {16, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(imageNamed(QStringLiteral("icon"), {side, side}));
    return icon;
}

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
                               kCutSize, localizedString("Cut"), this)),
      displayBox_(new DisplayBox(this)),
      menuBtn_(new SketchButton({.rest = QStringLiteral("menu"), .hover = {}, .pressed = {}, .disabled = {}}, kMenuSize,
                                localizedString("Menu"), this)),
      pages_(new QStackedWidget(this)),
      recordingPage_(new RecordingPage(pages_)),
      lblStatus_(new StatusLine(this)),
      menu_(new QMenu(this)) {
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    setWindowIcon(programIcon());
    setMinimumSize(RecordingPage::kSize + QSize(0, kToolbarHeight + StatusLine::kHeight));
    resize(minimumSize());
    addPage(*recordingPage_);
    cutBtn_->setToolTip(localizedString("Cut to another recording"));
    Look::shared().dress(*this);
    Look::shared().dress(*menu_); // a menu is a window of its own
    menu_->setFont(lookFont(kListPixels));
    connect(menuBtn_, &SketchButton::clicked, this, &MainWindowView::showMenu);
    setTabOrder(recordingBtn_, cutBtn_);
    setTabOrder(cutBtn_, menuBtn_);
    setTabOrder(menuBtn_, recordingPage_->runTracksView());
    // Space records from the start, without a focus line before the keyboard is used.
    recordingBtn_->setFocus(Qt::OtherFocusReason);
}

MainWindowView::~MainWindowView() = default;

void MainWindowView::addPage(QWidget &page) { pages_->addWidget(&page); }

void MainWindowView::showPage(QWidget &page) { pages_->setCurrentWidget(&page); }

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
    placeMiddle(*recordingBtn_, kRecordMiddle);
    placeMiddle(*cutBtn_, kCutMiddle);
    displayBox_->move(kBoxLeft, (kToolbarHeight - displayBox_->height()) / 2);
    placeMiddle(*menuBtn_, width() - kMenuMiddleFromRight);
    const int pageHeight = height() - kToolbarHeight - StatusLine::kHeight;
    pages_->setGeometry(0, kToolbarHeight, width(), pageHeight);
    lblStatus_->setGeometry(0, kToolbarHeight + pageHeight, width(), StatusLine::kHeight);
}

void MainWindowView::closeEvent(QCloseEvent *event) { event->setAccepted(!shouldClose_ || shouldClose_()); }
