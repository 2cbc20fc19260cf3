#include "views/library/TrackCell.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/library/MyTableView.h"
#include "views/library/TrackTableModel.h"

#include <QPainter>

namespace {

constexpr int kTextInset = 3;
constexpr int kRoomForMenuButton = 30;
constexpr float kWash = 0.13F;  // of teal over the paper of a selected row
constexpr float kStripe = 0.6F; // of sheet over the paper of every other row

QColor faded(LookColour colour, float alpha) {
    QColor result = lookColour(colour);
    result.setAlphaF(alpha);
    return result;
}

bool isButton(const SongItem &song) {
    const auto status = static_cast<ID3Status>(song.getID3Status());
    return status == ID3Status::NotAsked || status == ID3Status::Waiting || status == ID3Status::NotFound;
}

void drawInMiddle(QPainter &painter, const QRect &area, const QString &name) {
    const QPixmap picture = imageNamed(name, {}, painter.device()->devicePixelRatioF());
    if (picture.isNull())
        return;
    const QSizeF size = picture.deviceIndependentSize();
    painter.drawPixmap(
        QPointF(area.left() + (area.width() - size.width()) / 2, area.top() + (area.height() - size.height()) / 2),
        picture);
}

} // namespace

QString textForCell(const QString &text, const QFontMetrics &metrics, int width) {
    constexpr qsizetype kNarrowestLetter = 2; // pixels, and letters that take no room count as well
    QString shown = text.left(qMax<qsizetype>(width, 0) / kNarrowestLetter + 32);
    for (QChar &letter : shown)
        if (letter.category() == QChar::Other_Control || letter.category() == QChar::Separator_Line ||
            letter.category() == QChar::Separator_Paragraph)
            letter = QLatin1Char(' ');
    return elidedLine(shown, metrics, Qt::ElideRight, width);
}

TrackCell::TrackCell(MyTableView &table) : QStyledItemDelegate(&table), table_(table) {}

void TrackCell::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const {
    const bool isSelected = option.state & QStyle::State_Selected;
    const SongPtr song = table_.trackModel()->songItem(index.row());
    painter->save();
    painter->setLayoutDirection(option.direction);
    paintGround(*painter, option.rect, index, isSelected);
    if (!song) {
        // A row that has just gone from the array; the list is told soon.
    } else if (index.column() == kIdentifyColumn && isButton(*song)) {
        paintButton(*painter, option.rect, index.row(), *song, isSelected);
    } else if (index.column() == kStatusColumn || index.column() == kIdentifyColumn) {
        paintImage(*painter, option.rect, index, isSelected);
    } else {
        paintText(*painter, option.rect, index, *song);
    }
    painter->restore();
}

void TrackCell::paintGround(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isSelected) const {
    painter.fillRect(cell, lookColour(LookColour::Paper)); // over what the style drew for a selected row
    if (isSelected)
        painter.fillRect(cell, faded(LookColour::Teal, kWash));
    else if (index.row() % 2 == 1)
        painter.fillRect(cell, faded(LookColour::Sheet, kStripe));
    if (table_.isFocusShown(index.row())) {
        painter.fillRect(QRect(cell.left(), cell.top(), cell.width(), 1), lookColour(LookColour::Teal));
        painter.fillRect(QRect(cell.left(), cell.bottom(), cell.width(), 1), lookColour(LookColour::Teal));
    }
}

void TrackCell::paintText(QPainter &painter, const QRect &cell, const QModelIndex &index, const SongItem &song) const {
    const bool isTitle = index.column() == kTitleColumn;
    const bool isPlaying =
        song.status() == static_cast<int>(SongStatus::Playing) || song.status() == static_cast<int>(SongStatus::Paused);
    const bool hasMenuButton = isTitle && index.row() == table_.hoveredRow();
    const QFont font = lookFont(kListPixels, isTitle && isPlaying ? QFont::DemiBold : QFont::Normal);
    const QRect area = cell.adjusted(kTextInset, 0, hasMenuButton ? -kRoomForMenuButton : -2 * kTextInset, 0);
    painter.setFont(font);
    painter.setPen(lookColour(index.column() >= kDateColumn ? LookColour::Soft : LookColour::Ink));
    painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     textForCell(index.data().toString(), QFontMetrics(font), area.width()));
}

void TrackCell::paintImage(QPainter &painter, const QRect &cell, const QModelIndex &index, bool isSelected) const {
    const QString name =
        table_.delegate() ? table_.delegate()->imageForRow(index.row(), index.column(), isSelected) : QString();
    if (!name.isEmpty())
        drawInMiddle(painter, cell, name);
}

void TrackCell::paintButton(QPainter &painter, const QRect &cell, int row, const SongItem &song,
                            bool isSelected) const {
    const auto status = static_cast<ID3Status>(song.getID3Status());
    const bool isWaiting = status == ID3Status::Waiting;
    const QString stem = isWaiting                       ? QStringLiteral("waiting_")
                         : status == ID3Status::NotFound ? QStringLiteral("edit_")
                                                         : QStringLiteral("idenify_");
    const bool isEnabled = table_.delegate() && table_.delegate()->isButtonEnabled(row);
    const char *state = isSelected ? "sel" : "def";
    if (!isEnabled && !isWaiting)
        state = "disabled";
    else if (table_.isButtonPressed(row))
        state = "down";
    else if (table_.isButtonHovered(row))
        state = "hover";
    const QRect button = MyTableView::buttonRect(cell);
    painter.drawPixmap(button.topLeft(),
                       imageNamed(stem + QLatin1String(state), button.size(), painter.device()->devicePixelRatioF()));
    const QFont font = lookFont(kSecondLinePixels);
    const LookColour colour = isEnabled ? LookColour::Ink : isWaiting ? LookColour::Soft : LookColour::Line;
    painter.setFont(font);
    painter.setPen(lookColour(colour));
    const char *title = isWaiting ? "Waiting" : status == ID3Status::NotFound ? "Edit" : "Identify";
    painter.drawText(button, Qt::AlignCenter | Qt::TextSingleLine,
                     textForCell(localizedString(title), QFontMetrics(font), button.width() - 8));
}
