#include "views/library/MissingTracksView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/Sketch.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

namespace {

constexpr int kRowHeight = 44;
constexpr int kSideMargin = 12;
constexpr int kColumnGap = 16;
constexpr int kLineHeight = 17;

QString nameOf(const SongItem &song) {
    QStringList parts{oneLine(song.title()), oneLine(song.artist())};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(" · "));
}

} // namespace

class MissingTracksModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    const QList<MissingTrack> &tracks() const { return tracks_; }

    void setTracks(QList<MissingTrack> tracks) {
        beginResetModel();
        tracks_ = std::move(tracks);
        endResetModel();
    }

    int rowCount(const QModelIndex &parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(tracks_.size());
    }

    QVariant data(const QModelIndex &index, int role) const override {
        const MissingTrack &track = tracks_.at(index.row());
        switch (role) {
        case Qt::DisplayRole:
            return nameOf(*track.song);
        case Qt::AccessibleTextRole:
            return QStringList{nameOf(*track.song), wasAt(track), mayBeAt(track)}.join(QStringLiteral(". "));
        case Qt::ToolTipRole: // a tool tip would read a name like "<b>" as a sign
            return QString(wasAt(track).toHtmlEscaped() + QStringLiteral("<br>") + mayBeAt(track).toHtmlEscaped());
        default:
            return {};
        }
    }

private:
    static QString wasAt(const MissingTrack &track) {
        return localizedString("Was at") + QLatin1Char(' ') + oneLine(track.song->songPath());
    }
    static QString mayBeAt(const MissingTrack &track) {
        if (track.candidate.isEmpty())
            return localizedString("Not found elsewhere");
        return localizedString("May be at") + QLatin1Char(' ') + oneLine(track.candidate);
    }

    QList<MissingTrack> tracks_;
};

namespace {

/// Two lines in two columns: the track and where its file was, and where it may be.
class MissingTrackCell : public QStyledItemDelegate {
public:
    MissingTrackCell(const MissingTracksModel &model, QObject *parent) : QStyledItemDelegate(parent), model_(model) {}

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override { return {200, kRowHeight}; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
        const MissingTrack &track = model_.tracks().at(index.row());
        painter->save();
        painter->setLayoutDirection(option.direction);
        painter->setRenderHint(QPainter::Antialiasing);
        const bool isSelected = option.state & QStyle::State_Selected;
        if (isSelected || index.row() % 2 == 1)
            painter->fillRect(option.rect, isSelected ? wash() : lookColour(LookColour::Paper));
        if (isSelected && (option.state & QStyle::State_HasFocus)) {
            painter->setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
            painter->drawPath(sketchedRect(QRectF(option.rect).adjusted(2, 2, -2, -2), 6));
        }
        const QRect lines = option.rect.adjusted(kSideMargin, (kRowHeight - 2 * kLineHeight) / 2, -kSideMargin, 0);
        const int column = (lines.width() - kColumnGap) / 2;
        QRect place(lines.topLeft(), QSize(column, kLineHeight));
        drawPair(*painter, place, nameOf(*track.song), LookColour::Ink, oneLine(track.song->songPath()));
        place.translate(column + kColumnGap, 0);
        if (track.candidate.isEmpty())
            drawPair(*painter, place, localizedString("Not found elsewhere"), LookColour::Soft, {});
        else
            drawPair(*painter, place, localizedString("May be here now"), LookColour::Teal, oneLine(track.candidate));
        painter->restore();
    }

private:
    static QColor wash() {
        QColor wash = lookColour(LookColour::Teal);
        wash.setAlphaF(0.13F);
        return wash;
    }

    static void drawPair(QPainter &painter, QRect place, const QString &upper, LookColour colour, const QString &path) {
        drawLine(painter, place, upper, lookFont(kListPixels, QFont::DemiBold), colour, Qt::ElideRight);
        place.translate(0, kLineHeight);
        drawLine(painter, place, path, lookFont(kSecondLinePixels), LookColour::Soft, Qt::ElideMiddle);
    }

    static void drawLine(QPainter &painter, const QRect &place, const QString &text, const QFont &font,
                         LookColour colour, Qt::TextElideMode mode) {
        painter.setFont(font);
        painter.setPen(lookColour(colour));
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         elidedLine(text, QFontMetrics(font), mode, place.width()));
    }

    const MissingTracksModel &model_;
};

} // namespace

MissingTracksView::MissingTracksView(QWidget *parent) : QListView(parent), model_(new MissingTracksModel(this)) {
    setModel(model_);
    setItemDelegate(new MissingTrackCell(*model_, this));
    setUniformItemSizes(true); // a hundred thousand rows are as quick as one
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBar(new CustomizeScroller(Qt::Vertical, this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false); // Tab leaves the list
    setAccessibleName(localizedString("Missing tracks"));
}

void MissingTracksView::setTracks(QList<MissingTrack> tracks) {
    model_->setTracks(std::move(tracks));
    emit didSelect();
}

const QList<MissingTrack> &MissingTracksView::tracks() const { return model_->tracks(); }

QList<MissingTrack> MissingTracksView::selectedTracks() const {
    QList<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    std::sort(rows.begin(), rows.end());
    QList<MissingTrack> selected;
    for (const int row : std::as_const(rows))
        selected.append(tracks().at(row));
    return selected;
}

void MissingTracksView::removeSongs(const QSet<const SongItem *> &songs) {
    QList<MissingTrack> left = tracks();
    const auto isGone = [&](const MissingTrack &track) { return songs.contains(track.song.get()); };
    const auto first = std::distance(left.cbegin(), std::find_if(left.cbegin(), left.cend(), isGone));
    left.removeIf(isGone);
    const int place = verticalScrollBar()->value();
    setTracks(std::move(left));
    verticalScrollBar()->setValue(place);
    setCurrentIndex(model_->index(qMin(static_cast<int>(first), model_->rowCount({}) - 1)));
}

void MissingTracksView::keyPressEvent(QKeyEvent *event) {
    switch (event->key()) {
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        emit deletePressed();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit enterPressed();
        break;
    default:
        QListView::keyPressEvent(event);
    }
}

// Without a selection the keyboard's place would be told by nothing.
void MissingTracksView::focusInEvent(QFocusEvent *event) {
    QListView::focusInEvent(event);
    if (!selectionModel()->hasSelection() && !tracks().isEmpty())
        setCurrentIndex(currentIndex().isValid() ? currentIndex() : model_->index(0));
}

void MissingTracksView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) {
    QListView::selectionChanged(selected, deselected);
    emit didSelect();
}
