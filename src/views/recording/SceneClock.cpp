#include "views/recording/SceneClock.h"

#include <QCoreApplication>
#include <QPointer>

SceneClock &SceneClock::shared() {
    static QPointer<SceneClock> clock;
    if (!clock)
        clock = new SceneClock(qApp);
    return *clock;
}

SceneClock::SceneClock(QObject *parent) : QObject(parent) {
    timer_.setInterval(kTickMilliseconds);
    timer_.callOnTimeout([this] { tick(); });
    time_.start();
}

void SceneClock::add(SceneMover &mover) {
    if (!movers_.contains(&mover))
        movers_.append(&mover);
    if (!timer_.isActive())
        timer_.start();
}

void SceneClock::remove(SceneMover &mover) {
    movers_.removeOne(&mover);
    if (movers_.isEmpty())
        timer_.stop();
}

bool SceneClock::isMoving(const SceneMover &mover) const { return movers_.contains(&mover); }

void SceneClock::tick() {
    const qint64 now = time_.elapsed();
    const QList<SceneMover *> movers = movers_;
    for (SceneMover *mover : movers)
        if (movers_.contains(mover))
            mover->tick(now);
}
