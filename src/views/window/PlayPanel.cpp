#include "views/window/PlayPanel.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/ElidedLabel.h"
#include "views/controls/Look.h"
#include "views/controls/PlaySliderBar.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchButton.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>

namespace {

constexpr int kTimePixels = 10;
constexpr QRect kCoverPlace(13, 11, 44, 44);
constexpr int kTextLeft = 69;
constexpr int kRightMargin = 18;
constexpr int kTitleTop = 9;
constexpr int kTitleHeight = 17;
constexpr int kArtistTop = 26;
constexpr int kArtistHeight = 15;
constexpr int kTimesTop = 43;
constexpr int kTimesHeight = 18;
constexpr int kTimeGap = 6;
constexpr int kTimeStep = 8; // the bar's ends move only when a time becomes this much wider

QLabel *makeTimeLabel(Qt::Alignment alignment, QWidget *parent) {
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(lookFont(kTimePixels));
    label->setAlignment(alignment | Qt::AlignVCenter);
    return label;
}

} // namespace

SketchImages playImages() {
    return {.rest = QStringLiteral("Play"),
            .hover = QStringLiteral("Play_hover"),
            .pressed = QStringLiteral("Play_down"),
            .disabled = QStringLiteral("Play_disabled")};
}

SketchImages pauseImages() {
    return {.rest = QStringLiteral("pause_on"),
            .hover = QStringLiteral("pause_hover"),
            .pressed = QStringLiteral("pause_down"),
            .disabled = {}};
}

SketchImages stopImages() {
    return {.rest = QStringLiteral("stop_on"),
            .hover = QStringLiteral("stop_hover"),
            .pressed = QStringLiteral("stop_down"),
            .disabled = {}};
}

PlayPanel::PlayPanel(QWidget *parent)
    : QWidget(parent),
      lblPlayTitle_(new ElidedLabel(lookFont(kListPixels, QFont::DemiBold), this)),
      lblPlayArtist_(new ElidedLabel(lookFont(kSecondLinePixels), this)),
      lblPlayedTime_(makeTimeLabel(Qt::AlignLeft, this)),
      lblLeftTime_(makeTimeLabel(Qt::AlignRight, this)),
      playSliderBar_(new PlaySliderBar(this)) {
    playSliderBar_->setPlaySliderImg(QStringLiteral("playSlider_front"));
    playSliderBar_->setPlaySliderBtn(QStringLiteral("playSlider_btn"));
    playSliderBar_->setPlaySliderBackImg(QStringLiteral("playSlider_back"));
    dressSecondLines();
}

void PlayPanel::setTitle(const QString &title) { lblPlayTitle_->setStringValue(title); }

QString PlayPanel::title() const { return lblPlayTitle_->text(); }

void PlayPanel::setArtist(const QString &artist) { lblPlayArtist_->setStringValue(artist); }

QString PlayPanel::artist() const { return lblPlayArtist_->text(); }

void PlayPanel::setPlayedTime(const QString &played) { setTime(*lblPlayedTime_, played); }

void PlayPanel::setLeftTime(const QString &left) { setTime(*lblLeftTime_, left); }

// Comes ten times a second; the clock texts end in the blanks of a table column.
void PlayPanel::setTime(QLabel &label, const QString &time) {
    const QString trimmed = time.trimmed();
    if (trimmed == label.text())
        return;
    const bool isLonger = trimmed.size() != label.text().size();
    label.setText(trimmed);
    if (isLonger)
        placeTimes();
}

void PlayPanel::setCover(const QPixmap &cover) {
    cover_ = cover;
    fittedCover_ = {};
    update();
}

QPixmap PlayPanel::shownCover() {
    const qreal scale = devicePixelRatioF();
    if (cover_.isNull())
        return imageNamed(QStringLiteral("default_coverImage"), kCoverPlace.size(), scale);
    const QSize size = (QSizeF(kCoverPlace.size()) * scale).toSize();
    if (fittedCover_.size() != size) {
        // Cut before it is scaled: a strip of a picture would become endless.
        const int side = qMin(cover_.width(), cover_.height());
        const QPoint middle((cover_.width() - side) / 2, (cover_.height() - side) / 2);
        fittedCover_ =
            cover_.copy(QRect(middle, QSize(side, side))).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        fittedCover_.setDevicePixelRatio(scale);
    }
    return fittedCover_;
}

void PlayPanel::paintEvent(QPaintEvent *event) {
    if (!event->rect().intersects(kCoverPlace))
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath frame = sketchedRect(QRectF(kCoverPlace).adjusted(0.5, 0.5, -0.5, -0.5), 5);
    painter.save();
    painter.setClipPath(frame);
    painter.drawPixmap(kCoverPlace.topLeft(), shownCover());
    painter.restore();
    painter.setPen(sketchPen(lookColour(LookColour::Ink), 1.3));
    painter.drawPath(frame);
}

void PlayPanel::resizeEvent(QResizeEvent *event) {
    const int textWidth = width() - kTextLeft - kRightMargin;
    lblPlayTitle_->setGeometry(kTextLeft, kTitleTop, textWidth, kTitleHeight);
    lblPlayArtist_->setGeometry(kTextLeft, kArtistTop, textWidth, kArtistHeight);
    placeTimes();
    QWidget::resizeEvent(event);
}

void PlayPanel::placeTimes() {
    const QFontMetrics metrics(lblLeftTime_->font());
    const int widest =
        qMax(metrics.horizontalAdvance(lblPlayedTime_->text()), metrics.horizontalAdvance(lblLeftTime_->text()));
    const int timeWidth = qMin((widest / kTimeStep + 1) * kTimeStep, width() / 4);
    const int right = width() - kRightMargin;
    lblPlayedTime_->setGeometry(kTextLeft, kTimesTop, timeWidth, kTimesHeight);
    lblLeftTime_->setGeometry(right - timeWidth, kTimesTop, timeWidth, kTimesHeight);
    const int barLeft = kTextLeft + timeWidth + kTimeGap;
    playSliderBar_->setGeometry(barLeft, kTimesTop, right - timeWidth - kTimeGap - barLeft, kTimesHeight);
}

void PlayPanel::dressSecondLines() {
    QPalette palette;
    palette.setColor(QPalette::WindowText, lookColour(LookColour::Soft));
    for (QWidget *line : {static_cast<QWidget *>(lblPlayArtist_), static_cast<QWidget *>(lblPlayedTime_),
                          static_cast<QWidget *>(lblLeftTime_)})
        line->setPalette(palette);
}

void PlayPanel::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange)
        dressSecondLines();
    QWidget::changeEvent(event);
}
