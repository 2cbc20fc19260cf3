// The program's picture for window and tray: its icon, the number of tracks recorded in this run, and whether it
// records.
//
// Threads: main.
#pragma once

#include <QIcon>
#include <QObject>

class QPainter;

class DockContentView : public QObject {
    Q_OBJECT
public:
    static DockContentView &shared();

    /// 0 idle, 1 ready, 2 recording.
    void setRecordStatus(int status) { status_ = status; }
    void setRecordedMusicCount(int count) { count_ = count; }
    /// The picture as it is now, in all sizes; each call while recording moves its dots one on. Costs nothing while
    /// there is nothing new to draw.
    QIcon display();

private:
    using QObject::QObject;
    QPixmap drawn(int side) const;
    void drawCount(QPainter &painter, int side) const;
    void drawPanel(QPainter &painter, int side) const;
    void drawSmallPanel(QPainter &painter, int side) const;

    int status_ = 0;
    int count_ = 0;
    int drawCount_ = 0; // dots behind "Rec", less one
    QString drawnState_;
    QIcon drawnIcon_;
};
