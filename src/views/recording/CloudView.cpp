#include "views/recording/CloudView.h"

#include "views/recording/SceneArtwork.h"

#include <QEvent>
#include <QPainter>

namespace {
constexpr int kBelowMiddle = 18; // so that the cable meets the microphone's foot
} // namespace

void CloudView::paintEvent(QPaintEvent *) {
    if (cloud_.isNull() || cloud_.devicePixelRatio() != devicePixelRatioF())
        cloud_ = sceneImage(QStringLiteral("cloud"), devicePixelRatioF());
    const QSize size = cloud_.deviceIndependentSize().toSize();
    QPainter(this).drawPixmap((width() - size.width()) / 2, (height() - size.height()) / 2 + kBelowMiddle, cloud_);
}

void CloudView::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange)
        cloud_ = {};
    QWidget::changeEvent(event);
}
