#include "views/window/DockContentView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QApplication>
#include <QPainter>
#include <QPointer>

namespace {

constexpr int kReady = 1;
constexpr int kRecording = 2;
constexpr int kDotStates = 3;
constexpr int kSmallestWithWords = 48; // pixels; below, the panel tells by signs

QString badgeName(int count) {
    const qsizetype digits = QString::number(count).size();
    return QStringLiteral("numbg_%1.png").arg(qMin<qsizetype>(digits, 4));
}

// In the size that lets it fit into `place`.
void drawFitted(QPainter &painter, const QRectF &place, const QString &text, int pixels, Qt::Alignment alignment) {
    QFont font = lookFont(pixels, QFont::Bold);
    while (pixels > 5 && QFontMetricsF(font).horizontalAdvance(text) > place.width())
        font.setPixelSize(--pixels);
    painter.setFont(font);
    painter.drawText(place, static_cast<int>(alignment) | Qt::TextDontClip, text);
}

} // namespace

DockContentView &DockContentView::shared() {
    static QPointer<DockContentView> view;
    if (!view)
        view = new DockContentView(qApp);
    return *view;
}

QIcon DockContentView::display() {
    const QString state = QStringLiteral("%1 %2 %3 %4")
                              .arg(status_)
                              .arg(count_)
                              .arg(status_ == kRecording ? drawCount_ : 0)
                              .arg(lookColour(LookColour::Ink).name());
    if (state != drawnState_) {
        drawnState_ = state;
        drawnIcon_ = {};
        for (const int side : {16, 22, 24, 32, 48, 64, 128, 256})
            drawnIcon_.addPixmap(drawn(side));
    }
    if (status_ == kRecording)
        drawCount_ = (drawCount_ + 1) % kDotStates;
    return drawnIcon_;
}

QPixmap DockContentView::drawn(int side) const {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    // The icon's own red disc is left out where a panel tells whether something records.
    const bool hasPanel = status_ == kReady || status_ == kRecording;
    painter.drawPixmap(0, 0,
                       imageNamed(hasPanel ? QStringLiteral("icon-plain") : QStringLiteral("icon"), pixmap.size()));
    if (hasPanel) {
        if (side < kSmallestWithWords)
            drawSmallPanel(painter, side);
        else
            drawPanel(painter, side);
    }
    if (count_ > 0)
        drawCount(painter, side);
    return pixmap;
}

// At the top right; where the picture is small the badge takes half of its height, so that digits can be read.
void DockContentView::drawCount(QPainter &painter, int side) const {
    const QString badge = badgeName(count_);
    const QSizeF natural = imageNamed(badge).size();
    const int height = qRound(side * (side < kSmallestWithWords ? 0.54 : 0.34));
    const int width = qMin(side, qRound(height * natural.width() / natural.height()));
    const QRect place(side - width, 0, width, height);
    painter.drawPixmap(place, imageNamed(badge, place.size()));
    painter.setPen(lookColour(Look::shared().isDark() ? LookColour::Paper : LookColour::Sheet));
    const qreal margin = width * 0.1;
    drawFitted(painter, QRectF(place).adjusted(margin, 0, -margin, 0), QStringLiteral("%1").arg(count_),
               qRound(height * 0.74), Qt::AlignCenter);
}

void DockContentView::drawPanel(QPainter &painter, int side) const {
    const QSize size(qRound(side * 0.96), qRound(side * 0.31));
    const QRect place(QPoint((side - size.width()) / 2, side - size.height()), size);
    painter.drawPixmap(place, imageNamed(QStringLiteral("StatusPanel.png"), size));
    const int pixels = qRound(side * 0.18);
    const QRectF words = QRectF(place).adjusted(side * 0.09, 0, -side * 0.09, -1);
    if (status_ == kReady) {
        painter.setPen(lookColour(LookColour::Ink));
        drawFitted(painter, words, localizedString("Ready"), pixels, Qt::AlignCenter);
        return;
    }
    const qreal oval = side * 0.13;
    painter.setPen(lookColour(LookColour::RedText));
    drawFitted(painter, words.adjusted(0, 0, -oval - side * 0.04, 0),
               localizedString("Rec") + QString(drawCount_ + 1, u'.'), pixels, Qt::AlignLeft | Qt::AlignVCenter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(lookColour(LookColour::Red));
    painter.drawEllipse(QRectF(words.right() - oval, words.center().y() - oval / 2, oval, oval));
}

// A ring for ready; a full disc, with the dots beside it, for a recording.
void DockContentView::drawSmallPanel(QPainter &painter, int side) const {
    const qreal height = side * 0.44;
    const QRectF place(0.5, side - height - 0.5, side - 1, height);
    painter.setPen(QPen(lookColour(LookColour::Ink), 1));
    painter.setBrush(lookColour(LookColour::Sheet));
    painter.drawRoundedRect(place, height / 2, height / 2);
    const qreal disc = height * 0.56;
    const QRectF left(place.left() + height * 0.3, place.center().y() - disc / 2, disc, disc);
    if (status_ == kReady) {
        painter.setPen(QPen(lookColour(LookColour::Ink), 1.4));
        painter.drawEllipse(place.center(), disc / 2, disc / 2);
        return;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(lookColour(LookColour::Red));
    painter.drawEllipse(left);
    const qreal dot = side * 0.1;
    for (int i = 0; i <= drawCount_; ++i)
        painter.drawEllipse(QPointF(left.right() + dot * (1.3 + 1.5 * i), left.bottom() - dot), dot / 2, dot / 2);
}
