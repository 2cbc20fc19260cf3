#include "views/recording/RecordingPage.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/recording/RunTracksView.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr QSize kSceneSize(520, 240);
constexpr QSize kFormatStripSize(240, 28);
constexpr int kFormatStripTop = 5;
constexpr int kSentenceHeight = 40;
constexpr int kSentenceGap = 14; // between the scene and its sentence

} // namespace

/// The microphone at rest.
class MicrophoneScene : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter(this).drawPixmap(0, 0,
                                  imageNamed(QStringLiteral("microphone-scene"), kSceneSize, devicePixelRatioF()));
    }
};

RecordingPage::RecordingPage(QWidget *parent)
    : QWidget(parent),
      animationViewBox_(new QWidget(this)),
      scene_(new MicrophoneScene(animationViewBox_)),
      lblSentence_(new QLabel(this)),
      formatStripPlace_(new QWidget(this)),
      flowViewBox_(new QWidget(this)),
      runTracksView_(new RunTracksView(flowViewBox_)) {
    lblSentence_->setTextFormat(Qt::PlainText);
    lblSentence_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    lblSentence_->setWordWrap(true);
    lblSentence_->setFont(lookFont(kStatusPixels));
    auto *flowLayout = new QVBoxLayout(flowViewBox_);
    flowLayout->setContentsMargins(0, 0, 0, 0);
    flowLayout->addWidget(runTracksView_);
    connect(runTracksView_->model(), &QAbstractItemModel::rowsInserted, this, &RecordingPage::updateSentence);
    connect(runTracksView_->model(), &QAbstractItemModel::rowsRemoved, this, &RecordingPage::updateSentence);
    updateSentence();
    resize(kSize);
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
        lblSentence_->setText(runTracksView_->countOfSongItems() > 0
                                  ? QString()
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
    const int used = kSceneSize.height() + kSentenceGap + kSentenceHeight;
    const int top = qMax(0, kFormatStripTop + kFormatStripSize.height() + sceneAreaHeight - used) / 2;
    scene_->setGeometry(QRect(QPoint((width() - kSceneSize.width()) / 2, top), kSceneSize));
    lblSentence_->setGeometry(60, top + kSceneSize.height() + kSentenceGap, width() - 120, kSentenceHeight);
}
