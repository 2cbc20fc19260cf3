// The strip at the bottom of the recording page: the tracks recorded since the program started, the newest first.
//
// Threads: main, but for the three operations that say so. Covers are read beside it, by a thread that ends with it.
#pragma once

#include "views/recording/ImageFlowView.h"

#include <QThreadPool>

class QLabel;
class QScrollArea;

/// What a click leads to, and what the strip asks for that others have. Outlives its ImageFlowViewCtr.
class ImageFlowViewCtrDelegate {
public:
    /// Goes to the track in the library.
    virtual void findNewRecordItem([[maybe_unused]] const SongPtr &song, [[maybe_unused]] bool isPlay) {}
    virtual void getID3WithSongItem([[maybe_unused]] const SongPtr &song) {}
    /// Whether there is somebody who can identify tracks.
    virtual bool canIdentify() const { return false; }

protected:
    ~ImageFlowViewCtrDelegate() = default;
};

class ImageFlowViewCtr final : public QObject, public ImageFlowViewDelegate, public ImageFlowViewDataSource {
    Q_OBJECT
public:
    static constexpr double kShowSeconds = 2.4; // when the cover of the scene has come down

    ImageFlowViewCtr();
    ~ImageFlowViewCtr() override;

    /// Whoever shows it takes it over.
    QWidget *view() const { return view_; }
    ImageFlowView *imageFlowView() const { return imageFlowView_; }
    void setDelegate(ImageFlowViewCtrDelegate *delegate);

    // Any thread; they wait until it is done.

    /// The track shows kShowSeconds from now, at the left. One that is there already is ignored.
    void addSongItemOnMainThread(const SongPtr &song);
    /// Shows the track's values as they are now. One that is not there is ignored, here and below.
    void updateSongItemOnMainThread(const SongPtr &song);
    void removeSongItemOnMainThread(const SongPtr &song);

    /// All of them, the newest first, shown at once.
    void setSongItems(const SongArray &songs);
    int countSongItem() const { return static_cast<int>(data_.size()); }
    /// ImageFlowViewCtrDelegate::canIdentify() has another answer now.
    void canIdentifyDidChange();

    int numberOfItemsInFlowView(const ImageFlowView &flowView) const override;
    ImageFlowViewItemPtr itemAtIndex(const ImageFlowView &flowView, int index) const override;
    void flowItemButtonClicked(ImageFlowViewItem &item) override;
    void flowItemID3ButtonClicked(ImageFlowViewItem &item) override;
    void flowItemDoubleClicked(ImageFlowViewItem &item, const QPoint &event) override;
    bool canIdentify() const override { return delegate_ && delegate_->canIdentify(); }

signals:
    /// countSongItem() has another answer now.
    void countDidChange();

private:
    /// A cover as it is at one time.
    struct Cover {
        QString path; // null for none
        int version = 0;

        bool operator==(const Cover &) const = default;
    };

    static Cover coverOf(const SongItem &song);
    int indexOfSongItem(const SongPtr &song) const;
    ImageFlowViewItemPtr makeItem(const SongPtr &song);
    void addSongItem(const SongPtr &song);
    void doAddSongItemAnimation();
    void updateSongItem(const SongPtr &song);
    void removeSongItem(const SongPtr &song);
    void updateImageFlowViewItem(ImageFlowViewItem &item, const SongPtr &song);
    void updateImage(ImageFlowViewItem &item, const SongPtr &song);
    void didReadCover(const SongPtr &song, const Cover &cover, const QImage &image);
    void scrollToStart();
    void onMainThread(const std::function<void()> &work);

    QPointer<QWidget> view_; // whoever shows it may delete it first
    QScrollArea *scrollView_;
    ImageFlowView *imageFlowView_;
    QLabel *lblEmpty_;
    ImageFlowViewCtrDelegate *delegate_ = nullptr;
    QList<ImageFlowViewItemPtr> data_;               // the newest at index 0
    QHash<const ImageFlowViewItem *, Cover> covers_; // what each of data_ shows, or will when it has been read
    QThreadPool pool_;
};
