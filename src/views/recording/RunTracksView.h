// The strip at the bottom of the recording page: a card for each track recorded since the program started.
//
// Threads: main.
#pragma once

#include "views/recording/RunTracksModel.h"

#include <QListView>

class RunTracksView : public QListView {
    Q_OBJECT
public:
    explicit RunTracksView(QWidget *parent);

    /// Puts the track at the left end and brings it into view.
    void addSongItemOnMainThread(std::shared_ptr<SongItem> song);
    void updateSongItemOnMainThread(const std::shared_ptr<SongItem> &song) { model_->updateSongItem(song); }
    void removeSongItemOnMainThread(const std::shared_ptr<SongItem> &song) { model_->removeSongItem(song); }
    void setSongItems(const QList<std::shared_ptr<SongItem>> &songs) { model_->setSongItems(songs); }
    int countOfSongItems() const { return model_->rowCount(); }

signals:
    /// A double click on a card, or Enter.
    void itemActivated(const std::shared_ptr<SongItem> &song);

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    RunTracksModel *model_;
};
