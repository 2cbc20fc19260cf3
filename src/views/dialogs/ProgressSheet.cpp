#include "views/dialogs/ProgressSheet.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/ProgressLine.h"

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

ProgressSheet::ProgressSheet(QWidget *window, const QString &title)
    : QDialog(window),
      messageTextField_(lineLabel(kListPixels, this)),
      informationTextField_(lineLabel(kSecondLinePixels, this)),
      progressIndicator_(new ProgressLine(this)),
      lower_(new QHBoxLayout) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    setAccessibleName(title);
    progressIndicator_->setAccessibleName(title);
    progressIndicator_->setRange(0, 1); // a range of nothing would stand for "unknown"
    Look::shared().dress(*this);

    lower_->setSpacing(12);
    lower_->addWidget(progressIndicator_, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 20, 14);
    layout->setSpacing(4);
    layout->addWidget(messageTextField_);
    layout->addLayout(lower_);
    layout->addWidget(informationTextField_);
    setFixedSize(kWidth, sizeHint().height());
}

void ProgressSheet::addControl(QWidget *widget) {
    lower_->addWidget(widget);
    setFixedSize(kWidth, sizeHint().height());
}

void ProgressSheet::setMessage(const QString &message) {
    if (message == message_)
        return;
    message_ = message;
    messageTextField_->setAccessibleName(oneLine(message));
    showMessage();
}

// Of a path, the end tells most.
void ProgressSheet::showMessage() {
    const QString line = message_.right(400);
    messageTextField_->setText(
        messageTextField_->fontMetrics().elidedText(oneLine(line), Qt::ElideLeft, messageTextField_->width()));
}

void ProgressSheet::setProgressMinValue(int value) { progressIndicator_->setMinimum(value); }

void ProgressSheet::setProgressMaxValue(int value) {
    progressIndicator_->setMaximum(qMax(1, value));
    showCount();
}

void ProgressSheet::setProgressCurrentValue(int value) {
    progressIndicator_->setValue(value);
    showCount();
}

void ProgressSheet::showCount() {
    const QLocale locale;
    informationTextField_->setText(localizedString("%1 of %2")
                                       .arg(locale.toString(qMax(0, progressIndicator_->value())),
                                            locale.toString(progressIndicator_->maximum())));
}

void ProgressSheet::resizeEvent(QResizeEvent *event) {
    QDialog::resizeEvent(event);
    layout()->activate();
    showMessage();
}
