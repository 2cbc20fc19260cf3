// Widths and order of the track list's columns. They fill the table's width, and are remembered.
//
// Threads: main.
#pragma once

#include "views/library/TrackTableModel.h"

#include <QObject>

class MyTableViewHeadView;

class TrackTableColumns : public QObject {
    Q_OBJECT
public:
    /// The header has the model's columns by now, and outlives this object.
    explicit TrackTableColumns(MyTableViewHeadView &header);

    /// Title, artist and album share what the other columns leave of `width`. A narrow table does without the date.
    void fit(int width);

private:
    void restore();
    void remember();
    void sectionWasResized(int column, int newSize);
    void sectionWasMoved();
    int growingColumnBeside(int column) const;

    MyTableViewHeadView &header_;
    std::array<int, kTrackColumnCount> widths_; // as the user wants them; of the growing columns only the ratio counts
    int width_ = 0;
    bool isArranging_ = false; // sections move by our hand, not by the user's
    bool isChanged_ = false;   // since the last remember()
};
