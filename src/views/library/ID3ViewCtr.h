// The tag editor: shows and edits the tags of one track, and its covers.
//
// Threads: main; pictures are read on a worker of Qt's pool.
#pragma once

#include "store/SongArray.h"
#include "views/library/ImageBrowserView.h"
#include "views/pictures/PictureFile.h"

#include <QFuture>
#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <chrono>

class HighlightBox;
class QLabel;
class SketchButton;
class TagEditorView;
class TagField;

/// Hears of what the user did in the editor. Outlives its ID3ViewCtr.
class ID3ViewCtrDelegate {
public:
    /// `song` has the values in `changes` now; file and database do not. Keys as in ID3ViewCtr::properties().
    virtual void id3DataDidChange([[maybe_unused]] const SongPtr &song, [[maybe_unused]] const QVariantMap &changes) {}
    /// Why a picture did not become a cover.
    virtual void coverWasRefused([[maybe_unused]] const QString &reason) {}
    /// The keyboard is to go back to the list.
    virtual void editorWasLeft() {}

protected:
    ~ID3ViewCtrDelegate() = default;
};

/// A picture made ready to be a cover.
struct CoverCopy {
    QString path; ///< null where there is none
    PictureTrouble trouble = PictureTrouble::None;
};

class ID3ViewCtr final : public QObject, private ImageBrowserDataSource, private ImageBrowserDelegate {
    Q_OBJECT
public:
    explicit ID3ViewCtr(ID3ViewCtrDelegate &delegate);
    ~ID3ViewCtr() override;

    /// The panel; whoever shows it takes it over.
    QWidget *view() const;

    /// Shows a track, or none. What was typed and not yet ended goes to the track shown before.
    void setSongItem(const SongPtr &song);
    const SongPtr &songItem() const { return songItem_; }
    /// What the panel shows: "editable", "title", "artist", "album", "year", "genre", "size", "date", "type",
    /// "bitrate", "samplerate", "cover" (paths) and "coverindex". With no track, that of the last one.
    const QVariantMap &properties() const { return properties_; }
    static QVariantMap defaultProperties();
    /// A track is shown that nobody is identifying.
    bool isEditable() const;

    /// Gives the keyboard to the title.
    void setTitleFirstResonder();
    /// Takes over what is typed, as Enter does.
    void endEditing();

    static void updateID3Dict(QVariantMap &dict, const SongItem *formSongItem);
    static void updateSongItem(SongItem &song, const QVariantMap &formID3Dict);

    // The parts of the panel

    TagField *field(const QString &key) const;
    HighlightBox *box(const QString &key) const;
    QLabel *valueLabel(const QString &key) const;
    SketchButton *leftButton() const;
    SketchButton *rightButton() const;
    ImageBrowserView *imageBrowser() const;
    const QList<ImageBrowserItemPtr> &coverImages() const { return coverImages_; }

    void leftButtonClicked();
    void rightButtonClicked();
    /// Takes a dropped or pasted picture as the track's own cover; only on the last cell of the strip. True also for a
    /// picture so large that it is still being read: it becomes the cover of that track later, or is refused then.
    bool dragFile(ImageBrowserView &browser, const QMimeData &data) override;
    /// The same from any cell.
    bool takeCover(const QMimeData &data);
    /// Waits for the pictures that are still being read, and takes each as if it had come before.
    void finishCovers();

private:
    struct ComingCover {
        SongPtr song;
        QFuture<CoverCopy> copy;
        int formerCell; // in sight before the picture was dropped, for a refusal
    };
    using ComingCoverPtr = std::shared_ptr<ComingCover>;

    void textFieldAction(const QString &key);
    void updateStateUI();
    void changeImageBrowserViewButton();
    void coverImageIndexDidEndChange();
    void coverImagesDidEndChange(const SongPtr &song);
    /// `song` is not songItem_ itself: the editor may go to another one meanwhile.
    void report(const SongPtr &song, const QVariantMap &changes);
    void showProperties();
    bool take(const QMimeData &data, int formerCell);
    static bool waitFor(const ComingCover &cover, std::chrono::milliseconds patience);
    bool takeComing(const ComingCoverPtr &cover);
    bool takeCopy(const SongPtr &song, const CoverCopy &copy);
    void refuse(const QString &reason);
    int visible() const { return imageBrowser()->visibleItemIndex(); }
    int count() const { return static_cast<int>(coverImages_.size()); }

    int numberOfItemsInImageBrowser(ImageBrowserView &browser) const override;
    ImageBrowserItemPtr itemAtIndex(ImageBrowserView &browser, int index) const override;
    void stepCover(int step) override;
    void pasteCover() override;
    void chooseCover() override;
    QString coverFolder() const;

    ID3ViewCtrDelegate &delegate_;
    QPointer<TagEditorView> view_; // whoever shows it may delete it first
    QVariantMap properties_;
    SongPtr songItem_;
    QList<ImageBrowserItemPtr> coverImages_;
    QString coverFolder_;                // of the picture that was chosen last
    QList<ComingCoverPtr> comingCovers_; // in the order in which they were dropped
    bool isMouseIn_ = false;             // from the first track on
};
