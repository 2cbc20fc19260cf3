#include "views/dialogs/ImportFileView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/ProgressLine.h"
#include "views/controls/SketchedPushButton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>

namespace {

constexpr int kWidth = 440;

QLabel *lineLabel(int pixels, QWidget *parent) {
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(lookFont(pixels));
    // The text may be longer than the sheet is wide.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    return label;
}

} // namespace

ImportFileView::ImportFileView(ImportFileViewDelegate &delegate, QWidget *window)
    : QDialog(window),
      delegate_(delegate),
      messageTextField_(lineLabel(kListPixels, this)),
      informationTextField_(lineLabel(kSecondLinePixels, this)),
      progressIndicator_(new ProgressLine(this)),
      cancelButton_(new SketchedPushButton(localizedString("Cancel"), /*isDefault=*/false, this)) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    const QString title = localizedString("Import Local Audio...").remove(QStringLiteral("..."));
    setAccessibleName(title);
    progressIndicator_->setAccessibleName(title);
    progressIndicator_->setRange(0, 1); // a range of nothing would stand for "unknown"
    Look::shared().dress(*this);

    auto *lower = new QHBoxLayout;
    lower->setSpacing(12);
    lower->addWidget(progressIndicator_, 1);
    lower->addWidget(cancelButton_);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 20, 14);
    layout->setSpacing(4);
    layout->addWidget(messageTextField_);
    layout->addLayout(lower);
    layout->addWidget(informationTextField_);
    setFixedSize(kWidth, sizeHint().height());
    setMessage(localizedString("import file..."));
    cancelButton_->setAutoDefault(false); // Enter is no wish to cancel
    cancelButton_->setFocus();
    connect(cancelButton_, &QPushButton::clicked, this, &ImportFileView::reject);
}

void ImportFileView::setMessage(const QString &message) {
    if (message == message_)
        return;
    message_ = message;
    messageTextField_->setAccessibleName(oneLine(message));
    showMessage();
}

// Of a path, the end tells most.
void ImportFileView::showMessage() {
    const QString line = message_.right(400);
    messageTextField_->setText(
        messageTextField_->fontMetrics().elidedText(oneLine(line), Qt::ElideLeft, messageTextField_->width()));
}

void ImportFileView::setProgressMinValue(int value) { progressIndicator_->setMinimum(value); }

void ImportFileView::setProgressMaxValue(int value) {
    progressIndicator_->setMaximum(qMax(1, value));
    showCount();
}

void ImportFileView::setProgressCurrentValue(int value) {
    progressIndicator_->setValue(value);
    showCount();
}

void ImportFileView::showCount() {
    const QLocale locale;
    informationTextField_->setText(localizedString("%1 of %2")
                                       .arg(locale.toString(qMax(0, progressIndicator_->value())),
                                            locale.toString(progressIndicator_->maximum())));
}

void ImportFileView::disableCancel() { cancelButton_->setEnabled(false); }

void ImportFileView::reject() {
    if (cancelButton_->isEnabled())
        delegate_.cancelButtonClick();
}

void ImportFileView::resizeEvent(QResizeEvent *event) {
    QDialog::resizeEvent(event);
    layout()->activate();
    showMessage();
}
