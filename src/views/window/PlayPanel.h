// What plays: cover, title, artist, position. Stands in the toolbar's box in place of the spectrum.
//
// Threads: main.
#pragma once

#include <QPixmap>
#include <QWidget>

class ElidedLabel;
class PlaySliderBar;
class QLabel;
struct SketchImages;

/// The drawings of the play button: it starts, it pauses, it stops what plays in another category.
SketchImages playImages();
SketchImages pauseImages();
SketchImages stopImages();

class PlayPanel : public QWidget {
    Q_OBJECT
public:
    explicit PlayPanel(QWidget *parent);

    PlaySliderBar *playSliderBar() const { return playSliderBar_; }
    /// Title and artist are shortened to the room there is; a tool tip shows the whole.
    void setTitle(const QString &title);
    QString title() const;
    void setArtist(const QString &artist);
    QString artist() const;
    /// Both are clock texts.
    void setPlayedTime(const QString &played);
    void setLeftTime(const QString &left);
    /// Of any size; what is not square is cut to its middle. A null picture stands for the default cover.
    void setCover(const QPixmap &cover);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setTime(QLabel &label, const QString &time);
    void dressSecondLines();
    void placeTimes();
    QPixmap shownCover();

    QPixmap cover_;
    QPixmap fittedCover_; // cover_ at the size and scale that it was last drawn in
    ElidedLabel *lblPlayTitle_;
    ElidedLabel *lblPlayArtist_;
    QLabel *lblPlayedTime_;
    QLabel *lblLeftTime_;
    PlaySliderBar *playSliderBar_;
};
