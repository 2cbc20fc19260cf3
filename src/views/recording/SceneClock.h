// The one timer behind everything that moves on the recording page, so that it all moves, and is drawn, in one go.
//
// Threads: main.
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

/// Moves with the clock. Leaves it before it goes.
class SceneMover {
public:
    /// `milliseconds` on the clock, which never goes back.
    virtual void tick(qint64 milliseconds) = 0;

protected:
    ~SceneMover() = default;
};

/// There is one per program. It ticks only while something moves.
class SceneClock : public QObject {
public:
    static constexpr int kTickMilliseconds = 33;

    static SceneClock &shared();

    /// From the next tick on; one that moves already is not moved twice.
    void add(SceneMover &mover);
    /// May come within a tick.
    void remove(SceneMover &mover);
    bool isMoving(const SceneMover &mover) const;
    bool isTicking() const { return timer_.isActive(); }

private:
    explicit SceneClock(QObject *parent);
    void tick();

    QTimer timer_;
    QElapsedTimer time_;
    QList<SceneMover *> movers_;
};
