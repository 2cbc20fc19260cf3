// The list of tracks whose files are gone, with the place that each file may have gone to.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"

#include <QListView>
#include <QSet>

class MissingTracksModel;

struct MissingTrack {
    SongPtr song;
    QString candidate; ///< the file it may have become; null where none was found
};

class MissingTracksView : public QListView {
    Q_OBJECT
public:
    explicit MissingTracksView(QWidget *parent);

    void setTracks(QList<MissingTrack> tracks);
    const QList<MissingTrack> &tracks() const;
    /// In the order of the list.
    QList<MissingTrack> selectedTracks() const;
    /// What stood behind the first of them is chosen then, so that the next one is at hand.
    void removeSongs(const QSet<const SongItem *> &songs);

signals:
    void didSelect();
    void deletePressed();
    void enterPressed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;

private:
    MissingTracksModel *model_;
};
