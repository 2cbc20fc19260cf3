#include "views/dialogs/ConnectionSheet.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/SightWatch.h"
#include "views/controls/SketchedPushButton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QTimer>

namespace {

constexpr int kTextWidth = 360;
constexpr int kFrameInterval = 200; // ms
constexpr int kFrames = 6;
constexpr QSize kPictureSize(20, 20);

/// The busy pictures of the list, one after another while they are seen.
class BusyPicture final : public QWidget {
public:
    explicit BusyPicture(QWidget *parent) : QWidget(parent), sight_(*this) {
        setFixedSize(kPictureSize);
        setAccessibleName(localizedString("Trying again"));
        timer_.setInterval(kFrameInterval);
        connect(&timer_, &QTimer::timeout, this, [this] {
            frame_ = frame_ % kFrames + 1;
            update();
        });
        connect(&sight_, &SightWatch::changed, this, [this] { sight_.mayMove() ? timer_.start() : timer_.stop(); });
    }

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter(this).drawPixmap(
            rect(), imageNamed(QStringLiteral("progress_0%1.png").arg(frame_), kPictureSize, devicePixelRatioF()));
    }

private:
    int frame_ = 1;
    QTimer timer_;
    SightWatch sight_;
};

QLabel *textLabel(const char *key, const QFont &font, QWidget *parent) {
    auto *label = new QLabel(localizedString(key), parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFont(font);
    label->setFixedWidth(kTextWidth);
    return label;
}

} // namespace

ConnectionSheet::ConnectionSheet(QWidget *window)
    : QDialog(window),
      progressImageView_(new BusyPicture(this)),
      btnRetray_(new SketchedPushButton(localizedString("Try Again"), /*isDefault=*/true, this)) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    Look::shared().dress(*this);
    auto *message = textLabel("Tracks can't be identified now", lookFont(kStatusPixels, QFont::DemiBold), this);
    auto *text = textLabel("Nobody can be asked for their names: every source is turned off, or not ready. The entry "
                           "Identification... in the menu turns them on.",
                           lookFont(kListPixels), this);
    setAccessibleName(message->text());
    setAccessibleDescription(text->text());
    auto *cancel = new SketchedPushButton(localizedString("Cancel"), /*isDefault=*/false, this);
    connect(btnRetray_, &QPushButton::clicked, this, &ConnectionSheet::retryWanted);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    QSizePolicy policy = progressImageView_->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    progressImageView_->setSizePolicy(policy);
    progressImageView_->hide();
    auto *lower = new QHBoxLayout;
    lower->setSpacing(4);
    lower->addWidget(progressImageView_);
    lower->addStretch();
    lower->addWidget(cancel);
    lower->addWidget(btnRetray_);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 22, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(message);
    layout->addWidget(text);
    layout->addSpacing(10);
    layout->addLayout(lower);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    btnRetray_->setFocus();
}

// A disabled button would hand the keyboard on.
void ConnectionSheet::setTrying(bool isTrying) {
    progressImageView_->setVisible(isTrying);
    btnRetray_->setEnabled(!isTrying);
    if (!isTrying)
        btnRetray_->setFocus();
}
