#include "views/window/DisplayBox.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/recording/SpectrumView.h"
#include "views/window/PlayPanel.h"
#include "views/window/ReadyStatusPanel.h"

#include <QEvent>
#include <QPainter>

namespace {

constexpr QSize kSize(368, 66);
constexpr QRect kStatusPlace(20, 11, 106, 18);
constexpr QRect kClockPlace(20, 30, 106, 26);
constexpr QRect kSpectrumPlace(126, 17, 230, 33);

} // namespace

DisplayBox::DisplayBox(QWidget *parent)
    : QWidget(parent),
      recordSpectrum_(new QWidget(this)),
      lblRecordStatus_(new QLabel(recordSpectrum_)),
      lblRecordTime_(new ReadyStatusPanel(recordSpectrum_)),
      spectrumView_(new SpectrumView(recordSpectrum_)),
      playPanel_(new PlayPanel(this)) {
    setFixedSize(kSize);
    recordSpectrum_->setGeometry(rect());
    lblRecordStatus_->setGeometry(kStatusPlace);
    lblRecordStatus_->setTextFormat(Qt::PlainText);
    lblRecordStatus_->setFont(lookFont(kStatusPixels, QFont::DemiBold));
    lblRecordTime_->setGeometry(kClockPlace);
    spectrumView_->setGeometry(kSpectrumPlace);
    dressStatus();
    recordSpectrum_->hide();
    playPanel_->setGeometry(rect());
    playPanel_->hide();
}

void DisplayBox::showPlayPanel(bool isShown) {
    setBackgroundImage(QStringLiteral("BoxBackground"));
    playPanel_->setVisible(isShown);
    recordSpectrum_->setVisible(!isShown);
}

void DisplayBox::setBackgroundImage(const QString &name) {
    backgroundImage_ = name;
    update();
}

void DisplayBox::setStatus(const QString &status, StatusColour colour) {
    lblRecordStatus_->setText(status);
    if (colour == statusColour_)
        return;
    statusColour_ = colour;
    dressStatus();
}

QString DisplayBox::status() const { return lblRecordStatus_->text(); }

void DisplayBox::dressStatus() {
    QPalette palette;
    palette.setColor(QPalette::WindowText,
                     lookColour(statusColour_ == StatusColour::Red ? LookColour::RedText : LookColour::Ink));
    lblRecordStatus_->setPalette(palette);
}

void DisplayBox::paintEvent(QPaintEvent *) {
    QPainter(this).drawPixmap(0, 0, imageNamed(backgroundImage_, kSize, devicePixelRatioF()));
}

void DisplayBox::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange)
        dressStatus();
    QWidget::changeEvent(event);
}
