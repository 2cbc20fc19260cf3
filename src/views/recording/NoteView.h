// The notes that fly out of the microphone.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"
#include "views/recording/SceneClock.h"

#include <QPixmap>
#include <QRandomGenerator>
#include <QWidget>
#include <array>

/// Twelve notes fly, each from the middle to a point of its own, where it fades and starts again. Where the user wants
/// no motion some stand still in their stead; while nobody can see them there are none.
class NoteView : public QWidget, private SceneMover {
public:
    static constexpr int kNotes = 12;

    explicit NoteView(QWidget *parent);
    ~NoteView() override;

    /// Nothing while they fly.
    void startAnimation();
    /// Notes in the air end their flights.
    void stopAnimation();
    /// Notes to be seen.
    int notesInSight() const;

    /// Where a flight may end: half of `imageSize` from the edge, and not in the middle. The null point where the view
    /// has no room for that.
    QPointF CGRandomTarget(const QSizeF &imageSize);

    /// Public for who has a clock of their own.
    void tick(qint64 milliseconds) final;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    /// One note and its flight.
    struct Note {
        bool isHidden = true;
        int image = 0; // of the six
        QPointF target;
        qreal ratio = 0;  // of the distance to the largest possible one
        qint64 start = 0; // on the clock; negative until the first tick
        qreal progress = 0;
    };

    void initAnimation();
    void startFlight(Note &note);
    void animationDidStop(Note &note);
    void arrangeStill();
    void hideNotes();
    void sightDidChange();
    QPointF middle() const { return QRectF(rect()).center(); }
    QPixmap imageOf(const Note &note) const;
    qreal sizeOf(const Note &note) const;
    QPointF positionOf(const Note &note) const;
    QRect frameOf(const Note &note) const;

    std::array<Note, kNotes> notes_;
    bool cancel_ = true;
    QRandomGenerator random_;
    SightWatch sight_{*this};
};
