#include "views/library/CategoryViewCtr.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/UserDefaults.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchedPushButton.h"
#include "views/library/MyOutlineView.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int kTopMargin = 12;
constexpr int kEdge = 1; // the line at the right

std::shared_ptr<OutlineItem> makeItem(const char *title, const char *image = "") {
    auto item = std::make_shared<OutlineItem>();
    item->category = localizedString(title);
    item->image = QString::fromLatin1(image);
    return item;
}

OutlineItem makeLibraryCategory() {
    const auto library = makeItem("Library");
    library->childs = {makeItem("Newly Recorded", "Newly Recorded.png"), makeItem("All Music", "All Music.png"),
                       makeItem("Untagged Music", "UntaggedMusic.png")};
    const auto tools = makeItem("Tools");
    tools->childs = {makeItem("Music ToolKit", "icon_toolkit.png")};
    return {.category = {}, .image = {}, .itemCount = 0, .childs = {library, tools}};
}

/// The page's left column with its edge.
class CategoryColumn : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.fillRect(rect(), lookColour(LookColour::Paper2));
        painter.setPen(sketchPen(lookColour(LookColour::Line), 1));
        painter.drawLine(QPointF(width() - 0.5, 0), QPointF(width() - 0.5, height()));
    }
};

/// The question for a rating, on a card. Escape closes it.
class RatePanel : public QWidget {
public:
    RatePanel(CategoryViewCtr &owner, QWidget *parent) : QWidget(parent), owner_(owner) {}

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(sketchPen(lookColour(LookColour::Line), 1.2));
        painter.setBrush(lookColour(LookColour::Sheet));
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(8, 4, -8, -8), 8));
    }
    void keyPressEvent(QKeyEvent *event) override {
        if (event->key() == Qt::Key_Escape)
            owner_.closeRefuse();
        else
            QWidget::keyPressEvent(event);
    }

private:
    CategoryViewCtr &owner_;
};

} // namespace

CategoryViewCtr::CategoryViewCtr(CategoryViewCtrDelegate &delegate)
    : delegate_(delegate), libraryCategory_(makeLibraryCategory()), view_(new CategoryColumn) {
    view_->setFixedWidth(kWidth);
    outlineView_ = new MyOutlineView(libraryCategory_, delegate_, view_);
    auto *layout = new QVBoxLayout(view_);
    layout->setContentsMargins(0, kTopMargin, kEdge, 0);
    layout->setSpacing(0);
    layout->addWidget(outlineView_);
    connect(outlineView_, &MyOutlineView::didSelect, this,
            [this](const OutlineItem &item) { delegate_.outlineViewSelectionDidChange(item); });
}

// Whoever took the view over keeps it, but not the tree, which shows what goes now.
CategoryViewCtr::~CategoryViewCtr() {
    delete outlineView_;
    if (view_ && !view_->parent())
        delete view_;
    else
        delete rateView_;
}

QWidget *CategoryViewCtr::view() const { return view_; }

MyOutlineView *CategoryViewCtr::outlineView() const { return outlineView_; }

int CategoryViewCtr::selectedRow() const { return outlineView_->rowOf(outlineView_->currentIndex()); }

void CategoryViewCtr::selectRow(int row) { outlineView_->selectRow(row); }

void CategoryViewCtr::reloadData() { outlineView_->lookAgain(); }

void CategoryViewCtr::setRateAddress(const QString &address) {
    rateAddress_ = address;
    delete rateView_;
    if (!address.isEmpty())
        view_->layout()->addWidget(rateView_ = makeRateView());
}

QWidget *CategoryViewCtr::rateView() const { return rateView_; }

QWidget *CategoryViewCtr::makeRateView() {
    auto *panel = new RatePanel(*this, view_);
    auto *question = new QLabel(localizedString("Do you like this program? A rating helps others to find it."), panel);
    question->setTextFormat(Qt::PlainText);
    question->setWordWrap(true);
    question->setFont(lookFont(kSecondLinePixels));
    auto *layout = new QVBoxLayout(panel);
    layout->setContentsMargins(18, 16, 18, 16);
    layout->setSpacing(2);
    layout->addWidget(question);
    layout->addSpacing(4);
    const auto addButton = [&](const char *title, bool isDefault, void (CategoryViewCtr::*action)()) {
        auto *button = new SketchedPushButton(localizedString(title), isDefault, panel);
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, action);
    };
    addButton("Rate it", /*isDefault=*/true, &CategoryViewCtr::gotoRate);
    addButton("Not now", /*isDefault=*/false, &CategoryViewCtr::closeRefuse);
    addButton("No, thanks", /*isDefault=*/false, &CategoryViewCtr::refuseCruelly);
    panel->setAccessibleName(question->text());
    return panel;
}

void CategoryViewCtr::gotoRate() {
    UserDefaults::standardUserDefaults().setBool(/*value=*/true, QStringLiteral("HadGoToRate"));
    closeRefuse();
    delegate_.openRateAddress(rateAddress_);
}

void CategoryViewCtr::refuseCruelly() {
    UserDefaults::standardUserDefaults().setBool(/*value=*/true, QStringLiteral("HadGoToRate"));
    closeRefuse();
}

void CategoryViewCtr::closeRefuse() {
    if (!rateView_)
        return;
    rateView_->hide();
    rateView_->deleteLater(); // a key of its own may have brought this about
    rateView_ = nullptr;
}
