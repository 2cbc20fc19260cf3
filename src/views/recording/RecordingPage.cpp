#include "views/recording/RecordingPage.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr QSize kFormatStripSize(240, 28);
constexpr int kFormatStripTop = 5;
constexpr int kSentenceHeight = 40;
constexpr int kSentenceTop = 133; // below the middle of the scene

} // namespace

RecordingPage::RecordingPage(QWidget *parent)
    : QWidget(parent),
      lblSentence_(new QLabel(this)),
      animationViewBox_(new QWidget(this)),
      formatStripPlace_(new QWidget(this)),
      flowViewBox_(new QWidget(this)) {
    lblSentence_->setTextFormat(Qt::PlainText);
    lblSentence_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    lblSentence_->setWordWrap(true);
    lblSentence_->setFont(lookFont(kStatusPixels));
    auto *flowLayout = new QVBoxLayout(flowViewBox_);
    flowLayout->setContentsMargins(0, 0, 0, 0);
    updateSentence();
    setAttribute(Qt::WA_OpaquePaintEvent); // what moves costs no more than the page below it
    resize(kSize);
}

void RecordingPage::setScene(QWidget &scene) {
    scene_ = &scene;
    scene.setParent(animationViewBox_);
    scene.setGeometry(animationViewBox_->rect());
    scene.show();
}

void RecordingPage::setFlowView(QWidget &flowView) {
    flowViewBox_->layout()->addWidget(&flowView);
    flowView.show();
}

void RecordingPage::setHasTracks(bool hasTracks) {
    hasTracks_ = hasTracks;
    updateSentence();
}

void RecordingPage::setState(RecordingPageState state) {
    if (state == state_)
        return;
    state_ = state;
    updateSentence();
}

QString RecordingPage::sentence() const { return lblSentence_->text(); }

void RecordingPage::updateSentence() {
    switch (state_) {
    case RecordingPageState::Idle:
        lblSentence_->setText(hasTracks_ ? QString()
                                         : localizedString("Press Record, then play music on this computer."));
        break;
    case RecordingPageState::Waiting:
        lblSentence_->setText(localizedString("Listening. The recording begins with the first sound."));
        break;
    case RecordingPageState::Recording:
        lblSentence_->setText(localizedString("Recording what this computer plays. Cut begins a new track."));
        break;
    }
}

void RecordingPage::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), lookColour(LookColour::Paper));
    const QRect strip = flowViewBox_->geometry();
    painter.fillRect(strip, lookColour(LookColour::Sheet));
    painter.setPen(sketchPen(lookColour(LookColour::Line), 1));
    painter.drawLine(QPointF(0, strip.top() - 0.5), QPointF(width(), strip.top() - 0.5));
}

// In a window larger than its smallest size the scene keeps to the middle and the strip to the bottom.
void RecordingPage::resizeEvent(QResizeEvent *) {
    const int sceneAreaHeight = height() - kStripHeight;
    animationViewBox_->setGeometry(0, 0, width(), sceneAreaHeight);
    flowViewBox_->setGeometry(0, sceneAreaHeight, width(), kStripHeight);
    formatStripPlace_->setGeometry(
        QRect(QPoint((width() - kFormatStripSize.width()) / 2, kFormatStripTop), kFormatStripSize));
    if (scene_)
        scene_->setGeometry(animationViewBox_->rect());
    lblSentence_->setGeometry(60, sceneAreaHeight / 2 + kSentenceTop, width() - 120, kSentenceHeight);
}
