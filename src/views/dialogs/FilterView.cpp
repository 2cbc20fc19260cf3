#include "views/dialogs/FilterView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/ElidedLabel.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchedCheckBox.h"
#include "views/controls/SketchedComboBox.h"
#include "views/controls/SketchedPushButton.h"
#include "views/controls/SketchedSheet.h"
#include "views/dialogs/FilterTable.h"
#include "views/recording/MicrophoneView.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>

namespace {

constexpr QSize kWindowSize(860, 520);
constexpr int kMargin = 15;
constexpr int kLongestFilterTime = 60; // seconds
constexpr QSize kWheelSize(32, 32);

/// The tabs, drawn as a pair of buttons.
class SketchedTabBar : public QTabBar {
public:
    explicit SketchedTabBar(QWidget *parent) : QTabBar(parent) {
        setDrawBase(false);
        setExpanding(false);
        setFont(lookFont(kListPixels, QFont::DemiBold)); // leaves room for the chosen one
        setFocusPolicy(Qt::StrongFocus);
    }

protected:
    QSize tabSizeHint(int index) const override { return {fontMetrics().horizontalAdvance(tabText(index)) + 54, 34}; }

    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        for (int i = 0; i < count(); ++i)
            paintTab(painter, i);
    }

private:
    void paintTab(QPainter &painter, int index) {
        const bool isChosen = index == currentIndex();
        const QRectF frame = QRectF(tabRect(index)).adjusted(3, 3, -3, -3);
        painter.setPen(sketchPen(lookColour(isChosen ? LookColour::Teal : LookColour::Line), 1.5));
        painter.setBrush(lookColour(LookColour::Sheet));
        painter.drawPath(sketchedRect(frame, 9));
        if (isChosen) {
            QColor wash = lookColour(LookColour::Teal);
            wash.setAlphaF(0.15F);
            painter.setBrush(wash);
            painter.drawPath(sketchedRect(frame, 9));
        }
        if (isChosen && hasFocus()) {
            painter.setBrush(Qt::NoBrush);
            painter.drawPath(sketchedRect(QRectF(tabRect(index)).adjusted(0.7, 0.7, -0.7, -0.7), 11));
        }
        painter.setFont(lookFont(kListPixels, isChosen ? QFont::DemiBold : QFont::Normal));
        painter.setPen(lookColour(isChosen ? LookColour::Teal : LookColour::Ink));
        painter.drawText(tabRect(index), Qt::AlignCenter, tabText(index));
    }
};

QLabel *plainLabel(const QString &text, QWidget *parent) {
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(lookFont(kListPixels));
    return label;
}

/// What stands beside `widget` stays where it is while that is hidden.
void keepRoom(QWidget &widget) {
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

} // namespace

FilterView::FilterView(FilterViewDelegate &delegate, QWidget *parent)
    : QDialog(parent), delegate_(delegate), tabs_(new SketchedTabBar(this)), lists_(new QStackedWidget(this)) {
    setWindowModality(Qt::WindowModal);
    setLayoutDirection(Qt::LeftToRight); // its sentences go on around its controls
    Look::shared().dress(*this);
    tabs_->addTab(localizedString("Short tracks"));
    tabs_->addTab(localizedString("Duplicates"));
    tabs_->setAccessibleName(localizedString("What is looked for"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, 10, kMargin, 12);
    layout->setSpacing(8);
    layout->addLayout(makeThresholds());
    layout->addWidget(makeLists(), 1);
    layout->addLayout(makeNews());
    layout->addLayout(makeBottom());
    resize(kWindowSize);
    connect(tabs_, &QTabBar::currentChanged, this, &FilterView::tabDidChange);
    connect(this, &QDialog::finished, this, [this] { delegate_.windowDidClose(); });
    tabs_->setFocus();
}

// The tabs in the middle, and the lengths at the left.
QLayout *FilterView::makeThresholds() {
    popUpButton_ = new SketchedComboBox(this);
    popUpHeader_ = plainLabel(localizedString("Tracks of"), this);
    popUpHeader_->setBuddy(popUpButton_);
    popUpButton_->setAccessibleName(localizedString("Length of the tracks shown"));
    keepRoom(*popUpHeader_);
    keepRoom(*popUpButton_);
    auto *left = new QHBoxLayout;
    left->addWidget(popUpHeader_);
    left->addWidget(popUpButton_);
    left->addStretch();
    auto *line = new QHBoxLayout;
    line->addLayout(left, 1);
    line->addWidget(tabs_);
    line->addStretch(1);
    connect(popUpButton_, &QComboBox::currentIndexChanged, this, [this] { delegate_.filterChange(); });
    return line;
}

QWidget *FilterView::makeLists() {
    auto *sheet = new SketchedSheet(/*margin=*/1, /*radius=*/8, this);
    for (const FilterTab tab : {FilterTab::Short, FilterTab::Duplicate}) {
        auto *table = new FilterTable(tab, lists_);
        tables_.at(static_cast<size_t>(tab)) = table;
        lists_->addWidget(table);
        connect(table, &FilterTable::didMark, this, [this, tab] { delegate_.didMark(tab); });
        connect(table, &FilterTable::playPressed, this,
                [this](const FilterAdsItemPtr &item) { delegate_.playSong(item->object()); });
    }
    table(FilterTab::Short)->setEmptyText(localizedString("No track is as short as this."));
    table(FilterTab::Duplicate)->setEmptyText(localizedString("No song is here twice."));

    searching_ = new QWidget(lists_);
    progressText_ = plainLabel({}, searching_);
    auto *wheel = new ProgressView(searching_);
    wheel->setFixedSize(kWheelSize);
    wheel->startAnimation(); // rests while it is out of sight
    auto *middle = new QHBoxLayout(searching_);
    middle->addStretch();
    middle->addWidget(wheel);
    middle->addWidget(progressText_);
    middle->addStretch();
    lists_->addWidget(searching_);

    auto *layout = new QHBoxLayout(sheet);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(lists_);
    return sheet;
}

QLayout *FilterView::makeNews() {
    lblSummary_ = new ElidedLabel(lookFont(kListPixels), this);
    lblNotice_ = new ElidedLabel(lookFont(kListPixels), this);
    lblNotice_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (ElidedLabel *label : {lblSummary_, lblNotice_})
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    undoBtn_ = new SketchedPushButton(localizedString("Undo"), /*isDefault=*/false, this);
    auto *line = new QHBoxLayout;
    line->addWidget(lblSummary_, 1);
    line->addWidget(lblNotice_, 1);
    line->addWidget(undoBtn_);
    keepRoom(*undoBtn_);
    undoBtn_->hide();
    connect(undoBtn_, &QPushButton::clicked, this, [this] { delegate_.undo(); });
    return line;
}

QLayout *FilterView::makeBottom() {
    btnAutomicalFilter_ = new SketchedCheckBox(localizedString("Drop recordings shorter than"), this);
    btnFilterItems_ = new SketchedComboBox(this);
    for (int seconds = 0; seconds <= kLongestFilterTime; ++seconds)
        btnFilterItems_->addItem(QString::number(seconds));
    btnFilterItems_->setAccessibleName(localizedString("Seconds"));
    auto *close = new SketchedPushButton(localizedString("Close"), /*isDefault=*/false, this);
    removeButton_ = new SketchedPushButton(localizedString("Remove"), /*isDefault=*/true, this);
    auto *line = new QHBoxLayout;
    line->addWidget(btnAutomicalFilter_);
    line->addWidget(btnFilterItems_);
    line->addWidget(plainLabel(localizedString("s as they end"), this));
    line->addStretch();
    line->addWidget(close);
    line->addWidget(removeButton_);
    connect(btnAutomicalFilter_, &QCheckBox::toggled, this, [this](bool isOn) {
        btnFilterItems_->setEnabled(isOn);
        delegate_.setAutomicFilterAction(isOn);
    });
    connect(btnFilterItems_, &QComboBox::currentIndexChanged, this,
            [this](int seconds) { delegate_.setFilterTime(seconds); });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    connect(removeButton_, &QPushButton::clicked, this, [this] {
        if (tab() == FilterTab::Short)
            delegate_.removeButtonClick();
        else
            delegate_.removeDuplicateSongs();
    });
    return line;
}

FilterTab FilterView::tab() const { return tabs_->currentIndex() == 0 ? FilterTab::Short : FilterTab::Duplicate; }

void FilterView::selectTab(FilterTab tab) { tabs_->setCurrentIndex(static_cast<int>(tab)); }

void FilterView::tabDidChange() {
    popUpButton_->setVisible(tab() == FilterTab::Short);
    popUpHeader_->setVisible(tab() == FilterTab::Short);
    lists_->setCurrentWidget(table(tab()));
    delegate_.didSelectTab(tab());
}

void FilterView::setThresholds(const QStringList &titles, int selected) {
    const QSignalBlocker blocker(popUpButton_);
    popUpButton_->clear();
    popUpButton_->addItems(titles);
    popUpButton_->setCurrentIndex(selected);
}

int FilterView::threshold() const { return popUpButton_->currentIndex(); }

void FilterView::setAutoFilter(bool isOn, qint64 seconds) {
    const QSignalBlocker boxBlocker(btnAutomicalFilter_);
    const QSignalBlocker choiceBlocker(btnFilterItems_);
    btnAutomicalFilter_->setChecked(isOn);
    btnFilterItems_->setEnabled(isOn);
    btnFilterItems_->setCurrentIndex(static_cast<int>(qBound(qint64{0}, seconds, qint64{kLongestFilterTime})));
}

void FilterView::setSearching(const QString &text) {
    progressText_->setText(text);
    QWidget *shown = table(FilterTab::Duplicate);
    if (!text.isNull())
        shown = searching_;
    lists_->setCurrentWidget(shown);
}

void FilterView::setSummary(const QString &text) { lblSummary_->setStringValue(text); }

void FilterView::setIsRemoveEnabled(bool isEnabled) { removeButton_->setEnabled(isEnabled); }

void FilterView::setNotice(const QString &text, bool canUndo) {
    lblNotice_->setStringValue(text);
    undoBtn_->setAccessibleDescription(text);
    if (!canUndo && undoBtn_->hasFocus())
        table(tab())->setFocus();
    undoBtn_->setVisible(canUndo);
}

void FilterView::updateRows() {
    for (FilterTable *table : tables_)
        table->viewport()->update();
}

// Enter presses the button that has the keyboard and no other: nothing is removed by a key that was meant for a choice.
void FilterView::keyPressEvent(QKeyEvent *event) {
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QDialog::keyPressEvent(event);
}

void FilterView::paintEvent(QPaintEvent *) { QPainter(this).fillRect(rect(), lookColour(LookColour::Paper)); }
