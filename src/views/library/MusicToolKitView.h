// The page of cards for what the program can do with the whole library.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"

#include <QWidget>

class MissingTracksView;
class QLabel;
class QProgressBar;
class QPushButton;
struct MissingTrack;

class MusicToolKitViewDelegate {
public:
    /// Opens the folder of recordings in the desktop's file manager.
    virtual void openRecordingsFolder() {}
    /// Looks for the files of all tracks; showMissing() brings the answer.
    virtual void findMissingTracks() {}
    /// Takes tracks out of the library; asks nothing.
    virtual void removeTracks([[maybe_unused]] const SongArray &songs) {}
    /// The file of `song` stands elsewhere now.
    virtual void locateTrack([[maybe_unused]] const SongPtr &song, [[maybe_unused]] const QString &path) {}

protected:
    ~MusicToolKitViewDelegate() = default;
};

class MusicToolKitView : public QWidget {
    Q_OBJECT
public:
    MusicToolKitView(MusicToolKitViewDelegate &delegate, QWidget *parent);

    /// A search runs; `done` of `all` tracks were looked at.
    void showProgress(int done, int all);
    /// The tracks whose files are gone, with the file each may have become: a file of the same name and size found
    /// elsewhere, or a null string.
    void showMissing(const SongArray &songs, const QStringList &candidates);

    /// What was found, with the selection that the buttons act on.
    MissingTracksView *missingTracksView() const { return lstMissing_; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *makeFolderCard();
    QWidget *makeMissingCard();
    void find();
    /// More than one are asked about before.
    void takeOut(const QList<MissingTrack> &tracks);
    /// Tracks without a new place are passed over.
    void acceptPlaces(const QList<MissingTrack> &tracks);
    void didHandle(const SongArray &songs);
    void updateButtons();
    void updateFound();
    void setResultShown(bool isShown);

    MusicToolKitViewDelegate &delegate_;
    QWidget *missingCard_;
    QLabel *lblMissing_;
    QPushButton *findBtn_;
    QProgressBar *progress_;
    QWidget *result_;
    MissingTracksView *lstMissing_;
    QPushButton *takeOutBtn_;
    QPushButton *acceptBtn_;
    QPushButton *takeAllOutBtn_;
    QPushButton *acceptAllBtn_;
};
