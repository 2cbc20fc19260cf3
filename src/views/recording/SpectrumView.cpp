#include "views/recording/SpectrumView.h"

#include "views/controls/Look.h"
#include "views/recording/SceneArtwork.h"

#include <QPainter>
#include <utility>

namespace {

constexpr int kSmallestWidth = 4; // of a column
constexpr int kSmallestGap = 2;   // between the middle and the first column
constexpr int kLargestGap = 4;
constexpr qreal kFillOpacity = 0.8;

struct BarImages {
    QPixmap empty, fill;
};

/// Drawn once for a screen and an appearance.
const BarImages &barImages(qreal devicePixelRatio) {
    static BarImages images;
    static std::pair<qreal, bool> drawnFor(0, false);
    const std::pair wanted(devicePixelRatio, Look::shared().isDark());
    if (std::exchange(drawnFor, wanted) != wanted)
        images = {sceneImage(QStringLiteral("empty"), devicePixelRatio),
                  sceneImage(QStringLiteral("fill"), devicePixelRatio)};
    return images;
}

} // namespace

bool SpectrumItem::setEnergy(uint32_t energy) {
    if (std::exchange(energy_, energy) == energy)
        return false;
    filterFrame_ = QRect(0, 0, frame_.width(), energy == 0 ? 0 : static_cast<int>(energy) * 2 - 1);
    return true;
}

SpectrumView::SpectrumView(QWidget *parent) : QWidget(parent) {
    connect(&sight_, &SightWatch::changed, this, &SpectrumView::sightChanged);
    frameDidChange();
}

void SpectrumView::reloadData() {
    if (!dataSource_)
        return;
    bool hasChanged = false;
    const int known = dataSource_->numberOfColumnsInSpectrumView(*this);
    for (int i = 0; i < kColumns; ++i) {
        const int column = kColumns - 1 - i;
        const int value = column < known ? dataSource_->objectValueForColumnIndex(*this, column) : 0;
        const auto energy = static_cast<uint32_t>(qMax(value, 0));
        hasChanged |= energyLeftArray_[static_cast<size_t>(i)].setEnergy(energy);
        hasChanged |= energyRightArray_[static_cast<size_t>(i)].setEnergy(energy);
    }
    if (hasChanged)
        update();
}

void SpectrumView::resizeEvent(QResizeEvent *) { frameDidChange(); }

void SpectrumView::frameDidChange() {
    const int half = width() / 2;
    int columnWidth = kSmallestWidth;
    int gap = kSmallestGap;
    if (half > kSmallestWidth * kColumns + kSmallestGap) {
        columnWidth = (half - kSmallestGap) / kColumns;
        gap = qMin(half - columnWidth * kColumns, kLargestGap);
    }
    for (int i = 0; i < kColumns; ++i) {
        const QRect left(half - gap - (i + 1) * columnWidth, 0, columnWidth - 1, height());
        const QRect right(columnWidth * i + half + gap, 0, columnWidth - 1, height());
        energyLeftArray_[static_cast<size_t>(i)].setFrame(left.x() < 0 ? QRect() : left);
        energyRightArray_[static_cast<size_t>(i)].setFrame(right.x() + right.width() > width() ? QRect() : right);
    }
}

void SpectrumView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    for (const Items *items : {&energyLeftArray_, &energyRightArray_})
        for (const SpectrumItem &item : *items)
            paintItem(painter, item);
}

void SpectrumView::paintItem(QPainter &painter, const SpectrumItem &item) const {
    if (item.frame().isEmpty())
        return;
    const auto &[empty, fill] = barImages(devicePixelRatioF());
    painter.setOpacity(1);
    painter.drawPixmap(item.frame(), empty);
    const QRect filled(item.frame().left(), item.frame().bottom() + 1 - item.filterFrame().height(),
                       item.frame().width(), item.filterFrame().height());
    // The middle of the picture, as much as there is room for.
    const qreal scale = fill.devicePixelRatio();
    QRectF part(QPointF(), QSizeF(filled.size()) * scale);
    part.moveCenter(QRectF(fill.rect()).center());
    painter.setOpacity(kFillOpacity);
    painter.drawPixmap(QRectF(filled), fill, part);
}
