#include "views/window/LibraryPage.h"

#include "views/controls/Look.h"
#include "views/controls/TextButton.h"

#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int kSlideMilliseconds = 300;

/// The straight line at the edge of a side, over whatever fills it.
class Rule : public QWidget {
public:
    explicit Rule(QWidget *parent) : QWidget(parent) { setAttribute(Qt::WA_TransparentForMouseEvents); }

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), lookColour(LookColour::Line)); }
};

QWidget *makeBox(QWidget *parent) {
    auto *box = new QWidget(parent);
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    return box;
}

void addView(QWidget &box, QWidget *view) {
    if (box.layout()->indexOf(view) < 0)
        box.layout()->addWidget(view);
    view->show();
}

} // namespace

void setEditImages(TextButton &button, bool isExpanded) {
    if (isExpanded)
        button.setImages(QStringLiteral("CloseEdit"), QStringLiteral("CloseEdit_Down"));
    else
        button.setImages(QStringLiteral("OpenEdit"), QStringLiteral("OpenEdit_Down"));
}

LibraryPage::LibraryPage(QWidget *parent)
    : QWidget(parent),
      categoryBox_(makeBox(this)),
      displayBox_(makeBox(this)),
      editBox_(makeBox(this)),
      categoryRule_(new Rule(this)),
      editRule_(new Rule(this)) {
    slide_.setDuration(kSlideMilliseconds);
    slide_.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&slide_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &value) { setEditWidth(value.toInt()); });
    connect(&slide_, &QVariantAnimation::finished, this, &LibraryPage::expansionFinished);
    placeBoxes();
}

void LibraryPage::setCategoryView(QWidget *view) { addView(*categoryBox_, view); }

void LibraryPage::setDisplayView(QWidget *view) {
    for (QWidget *earlier : displayBox_->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
        earlier->setVisible(earlier == view);
    addView(*displayBox_, view);
}

void LibraryPage::setEditView(QWidget *view) { addView(*editBox_, view); }

void LibraryPage::setExpanded(bool isExpanded, bool animated) {
    isExpanded_ = isExpanded;
    const int goal = isExpanded ? kSideWidth : 0;
    slide_.stop();
    if (animated && isVisible() && !Look::shared().isMotionReduced()) {
        slide_.setStartValue(editWidth_);
        slide_.setEndValue(goal);
        slide_.start();
        return;
    }
    setEditWidth(goal);
    emit expansionFinished();
}

void LibraryPage::setEditWidth(int width) {
    editWidth_ = width;
    placeBoxes();
}

// Out of sight the tag editor is hidden, so that the keyboard does not get into it.
void LibraryPage::placeBoxes() {
    const int editLeft = width() - editWidth_;
    categoryBox_->setGeometry(0, 0, kSideWidth, height());
    displayBox_->setGeometry(kSideWidth, 0, qMax(0, editLeft - kSideWidth), height());
    editBox_->setGeometry(editLeft, 0, kSideWidth, height());
    categoryRule_->setGeometry(kSideWidth - 1, 0, 1, height());
    editRule_->setGeometry(editLeft, 0, 1, height());
    editBox_->setVisible(editWidth_ > 0);
    editRule_->setVisible(editWidth_ > 0);
}

void LibraryPage::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), lookColour(LookColour::Paper));
    painter.fillRect(categoryBox_->geometry(), lookColour(LookColour::Paper2));
    if (editWidth_ > 0)
        painter.fillRect(editBox_->geometry(), lookColour(LookColour::Paper2));
}

void LibraryPage::resizeEvent(QResizeEvent *event) {
    placeBoxes();
    QWidget::resizeEvent(event);
}

// Nobody sees the rest of the way.
void LibraryPage::hideEvent(QHideEvent *event) {
    if (slide_.state() == QAbstractAnimation::Running)
        setExpanded(isExpanded_, /*animated=*/false);
    QWidget::hideEvent(event);
}
