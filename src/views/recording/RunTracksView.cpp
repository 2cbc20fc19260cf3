#include "views/recording/RunTracksView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

namespace {

constexpr QSize kCardSize(98, 82);
constexpr int kCellWidth = 124;  // wide enough for the second line of a track of hours
constexpr int kCellHeight = 122; // leaves room for the scroll bar in a strip of 131
constexpr int kCellTop = 6;
constexpr int kTextGap = 1;
constexpr int kTitleHeight = 15;
constexpr int kSecondLineHeight = 13;
constexpr int kSideMargin = 19; // the first card stands under the record button

class CardDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override {
        return {kCellWidth, kCellHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        // The list stretches its cells over its whole height.
        const int top = option.rect.top() + (option.rect.height() - kCellHeight) / 2;
        const QRect cell(option.rect.left(), top, option.rect.width(), kCellHeight);
        const QRect card(QPoint(cell.left() + (cell.width() - kCardSize.width()) / 2, cell.top() + kCellTop),
                         kCardSize);
        if (option.state & QStyle::State_Selected)
            drawChoice(*painter, cell, option.state & QStyle::State_HasFocus);
        painter->drawPixmap(card.topLeft(),
                            imageNamed(QStringLiteral("card"), kCardSize, painter->device()->devicePixelRatioF()));
        QRect line(cell.left() + 8, card.bottom() + 1 + kTextGap, cell.width() - 16, kTitleHeight);
        drawLine(*painter, line, index.data().toString(), lookFont(kListPixels, QFont::DemiBold), LookColour::Ink);
        line = QRect(line.left(), line.bottom() + 1, line.width(), kSecondLineHeight);
        drawLine(*painter, line, index.data(RunTracksModel::kSecondLineRole).toString(), lookFont(kSecondLinePixels),
                 LookColour::Soft);
        painter->restore();
    }

private:
    static void drawChoice(QPainter &painter, const QRectF &cell, bool hasFocus) {
        const QColor teal = lookColour(LookColour::Teal);
        QColor wash = teal;
        wash.setAlphaF(0.13F);
        painter.setPen(sketchPen(teal));
        painter.setBrush(wash);
        painter.drawPath(sketchedRect(cell.adjusted(4, 2, -4, -2), 10));
        painter.setBrush(Qt::NoBrush);
        if (hasFocus)
            painter.drawPath(sketchedRect(cell.adjusted(1, 0, -1, 0), 12));
    }

    static void drawLine(QPainter &painter, const QRect &area, const QString &text, const QFont &font,
                         LookColour colour) {
        painter.setFont(font);
        painter.setPen(lookColour(colour));
        painter.drawText(area, Qt::AlignCenter, QFontMetrics(font).elidedText(text, Qt::ElideRight, area.width()));
    }
};

} // namespace

RunTracksView::RunTracksView(QWidget *parent) : QListView(parent), model_(new RunTracksModel(this)) {
    setModel(model_);
    setItemDelegate(new CardDelegate(this));
    setFlow(QListView::LeftToRight);
    setWrapping(false);
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBar(new CustomizeScroller(Qt::Horizontal, this));
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setViewportMargins(kSideMargin - (kCellWidth - kCardSize.width()) / 2, 1, 0, 0);
    setTabKeyNavigation(false); // Tab leaves the list
    setAccessibleName(localizedString("Recorded tracks"));
    connect(this, &QListView::doubleClicked, this,
            [this](const QModelIndex &index) { emit itemActivated(model_->songItem(index)); });
}

void RunTracksView::addSongItemOnMainThread(std::shared_ptr<SongItem> song) {
    model_->addSongItem(std::move(song));
    scrollTo(model_->index(0));
}

void RunTracksView::paintEvent(QPaintEvent *event) {
    if (model_->rowCount() == 0) {
        QPainter painter(viewport());
        painter.setFont(lookFont(kSecondLinePixels));
        painter.setPen(lookColour(LookColour::Soft));
        painter.drawText(viewport()->rect(), Qt::AlignCenter, localizedString("Your recordings will appear here"));
    }
    QListView::paintEvent(event);
}

void RunTracksView::keyPressEvent(QKeyEvent *event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && currentIndex().isValid())
        emit itemActivated(model_->songItem(currentIndex()));
    else
        QListView::keyPressEvent(event);
}

// Without a selection the keyboard's place would be told by nothing.
void RunTracksView::focusInEvent(QFocusEvent *event) {
    QListView::focusInEvent(event);
    if (selectionModel()->selectedIndexes().isEmpty() && model_->rowCount() > 0)
        setCurrentIndex(currentIndex().isValid() ? currentIndex() : model_->index(0));
}
