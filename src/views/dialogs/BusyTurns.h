// Keeps the window alive through long work that belongs to the main thread.
//
// Threads: main.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QString>

class ProgressSheet;
class QWidget;

class BusyTurns {
public:
    /// Work on `count` things begins. If it lasts longer than a moment a sheet comes over `window`, or over the window
    /// that blocks it, with `message`.
    BusyTurns(QWidget *window, const QString &message, qsizetype count);
    ~BusyTurns();
    BusyTurns(const BusyTurns &) = delete;
    BusyTurns &operator=(const BusyTurns &) = delete;

    /// So many of them are done. Now and then whatever else waits gets its turn, but the user's keys and clicks only
    /// once the sheet holds them off the windows below it.
    void next(qsizetype count = 1);

private:
    void showSheet();

    QWidget *window_;
    QString message_;
    qsizetype count_;
    qsizetype done_ = 0;
    QElapsedTimer start_, turn_;
    QPointer<ProgressSheet> sheet_;
};
