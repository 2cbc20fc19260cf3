#include "views/recording/ImageFlowViewCtr.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/MainThread.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/pictures/ThumbnailComposer.h"

#include <QLabel>
#include <QPropertyAnimation>
#include <QScrollArea>
#include <QThread>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace {

constexpr int kScrollMilliseconds = 250;
constexpr int kSeenAround = 20; // pixels of the neighbours that are shown beside what was chosen by key

const QString kDefaultSoundImage = QStringLiteral("Sound.png");

/// As high as the strip, with the scroll bar lying over its lower edge. The wheel moves it along.
class FlowScrollView : public QScrollArea {
public:
    explicit FlowScrollView(QWidget *parent) : QScrollArea(parent), bar_(new CustomizeScroller(Qt::Horizontal, this)) {
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setLayoutDirection(Qt::LeftToRight); // the newest stands at the left, and there it begins, in every language
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        viewport()->setAutoFillBackground(false);
        bar_->hide();
        QScrollBar *own = horizontalScrollBar();
        connect(own, &QScrollBar::rangeChanged, bar_, [this, own](int least, int most) {
            bar_->setPageStep(own->pageStep());
            bar_->setSingleStep(ImageFlowViewItem::kFrame.width());
            bar_->setRange(least, most);
            bar_->setVisible(most > least);
        });
        connect(own, &QScrollBar::valueChanged, bar_, &QScrollBar::setValue);
        connect(bar_, &QScrollBar::valueChanged, own, &QScrollBar::setValue);
    }

protected:
    void resizeEvent(QResizeEvent *event) override {
        QScrollArea::resizeEvent(event);
        constexpr int kThickness = CustomizeScroller::kThickness;
        bar_->setGeometry(0, height() - kThickness, width(), kThickness);
        bar_->raise();
        static_cast<ImageFlowView *>(widget())->layoutSubviewsAnimation(/*animation=*/false);
    }

    void wheelEvent(QWheelEvent *event) override {
        const QPoint pixels = event->pixelDelta().isNull() ? event->angleDelta() : event->pixelDelta();
        const int way = qAbs(pixels.x()) > qAbs(pixels.y()) ? pixels.x() : pixels.y();
        horizontalScrollBar()->setValue(horizontalScrollBar()->value() - way);
        event->accept();
    }

private:
    CustomizeScroller *bar_;
};

// The copy is for the program's own use: where it stands need not be kept.
QImage thumbnailOf(const QString &cover, const QSize &size) {
    const QString path = ThumbnailComposer::prepareThumbnailWithImage(cover, size);
    if (path.isNull())
        return {};
    QImage image(path);
    QFile::remove(path);
    return image;
}

} // namespace

ImageFlowViewCtr::ImageFlowViewCtr()
    : view_(new QWidget),
      scrollView_(new FlowScrollView(view_)),
      imageFlowView_(new ImageFlowView(scrollView_)),
      lblEmpty_(new QLabel(localizedString("Your recordings will appear here"), view_)) {
    pool_.setMaxThreadCount(1);
    scrollView_->setWidget(imageFlowView_);
    imageFlowView_->setAutoFillBackground(false);
    lblEmpty_->setFont(lookFont(kSecondLinePixels));
    lblEmpty_->setForegroundRole(QPalette::PlaceholderText);
    lblEmpty_->setAlignment(Qt::AlignCenter);
    auto *layout = new QGridLayout(view_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scrollView_, 0, 0);
    layout->addWidget(lblEmpty_, 0, 0);
    imageFlowView_->setDelegate(this);
    imageFlowView_->setDataSource(this);
    connect(imageFlowView_, &ImageFlowView::wantsToBeSeen, this, [this](const QRect &part) {
        const QPoint middle = part.center();
        scrollView_->ensureVisible(middle.x(), middle.y(), part.width() / 2 + kSeenAround, 0);
    });
    connect(imageFlowView_, &ImageFlowView::cacheItemsDidChange, this,
            [this] { lblEmpty_->setVisible(imageFlowView_->cacheItems().isEmpty()); });
}

ImageFlowViewCtr::~ImageFlowViewCtr() {
    pool_.clear();
    pool_.waitForDone();
    if (!view_)
        return;
    imageFlowView_->setDelegate(nullptr);
    imageFlowView_->setDataSource(nullptr);
    if (!view_->parent())
        delete view_;
}

void ImageFlowViewCtr::setDelegate(ImageFlowViewCtrDelegate *delegate) {
    delegate_ = delegate;
    canIdentifyDidChange();
}

void ImageFlowViewCtr::canIdentifyDidChange() {
    for (const ImageFlowViewItemPtr &item : std::as_const(data_))
        item->setStatus(item->status());
}

// Tracks

void ImageFlowViewCtr::onMainThread(const std::function<void()> &work) {
    if (QThread::currentThread() == thread())
        work();
    else
        QMetaObject::invokeMethod(this, work, Qt::BlockingQueuedConnection);
}

void ImageFlowViewCtr::addSongItemOnMainThread(const SongPtr &song) {
    onMainThread([this, &song] {
        scrollToStart();
        addSongItem(song);
    });
}

void ImageFlowViewCtr::updateSongItemOnMainThread(const SongPtr &song) {
    onMainThread([this, &song] { updateSongItem(song); });
}

void ImageFlowViewCtr::removeSongItemOnMainThread(const SongPtr &song) {
    onMainThread([this, &song] { removeSongItem(song); });
}

int ImageFlowViewCtr::indexOfSongItem(const SongPtr &song) const {
    const auto found =
        std::ranges::find_if(data_, [&](const ImageFlowViewItemPtr &item) { return item->extendObject() == song; });
    return found == data_.end() ? -1 : static_cast<int>(found - data_.begin());
}

ImageFlowViewItemPtr ImageFlowViewCtr::makeItem(const SongPtr &song) {
    auto item = std::make_shared<ImageFlowViewItem>();
    updateImageFlowViewItem(*item, song);
    return item;
}

void ImageFlowViewCtr::addSongItem(const SongPtr &song) {
    if (!song || indexOfSongItem(song) >= 0)
        return;
    data_.prepend(makeItem(song));
    performAfterDelay(kShowSeconds, this, [this] { doAddSongItemAnimation(); });
    emit countDidChange();
}

void ImageFlowViewCtr::doAddSongItemAnimation() {
    scrollToStart();
    imageFlowView_->reloadData();
}

void ImageFlowViewCtr::updateSongItem(const SongPtr &song) {
    if (const int index = indexOfSongItem(song); index >= 0)
        updateImageFlowViewItem(*data_.at(index), song);
}

void ImageFlowViewCtr::removeSongItem(const SongPtr &song) {
    const int index = indexOfSongItem(song);
    if (index < 0)
        return;
    const ImageFlowViewItemPtr item = data_.takeAt(index);
    covers_.remove(item.get());
    imageFlowView_->reloadData();
    emit countDidChange();
}

void ImageFlowViewCtr::setSongItems(const SongArray &songs) {
    QList<ImageFlowViewItemPtr> items;
    for (const SongPtr &song : songs) {
        const int index = indexOfSongItem(song);
        items.append(index >= 0 ? data_.at(index) : makeItem(song));
    }
    data_ = items;
    covers_.removeIf([this](const auto &entry) {
        return std::ranges::none_of(data_, [&](const auto &item) { return item.get() == entry.key(); });
    });
    imageFlowView_->reloadData();
    emit countDidChange();
}

// What an item shows

ImageFlowViewCtr::Cover ImageFlowViewCtr::coverOf(const SongItem &song) {
    const int32_t index = song.coverImageIndex();
    if (index < 0 || index >= song.coverImages().size())
        return {};
    return {song.coverImages().at(index), song.version()};
}

void ImageFlowViewCtr::updateImageFlowViewItem(ImageFlowViewItem &item, const SongPtr &song) {
    item.setDelegate(imageFlowView_);
    item.setExtendObject(song);
    item.setTitle(song->title());
    item.setSubTitle(song->artist());
    updateImage(item, song);
    item.setStatus(song->getID3Status());
}

// A large picture takes its time: until it has been read the item shows what it showed before.
void ImageFlowViewCtr::updateImage(ImageFlowViewItem &item, const SongPtr &song) {
    const Cover cover = coverOf(*song);
    const auto known = covers_.constFind(&item);
    const bool isNew = known == covers_.constEnd();
    if (!isNew && *known == cover && !cover.path.isNull())
        return;
    covers_.insert(&item, cover);
    if (isNew || cover.path.isNull())
        item.setImageNamed(kDefaultSoundImage);
    if (cover.path.isNull())
        return;
    const QSize size = (QSizeF(ImageFlowViewItem::kImageSize) * item.view()->devicePixelRatioF()).toSize();
    pool_.start([this, song, cover, size] {
        QImage image = thumbnailOf(cover.path, size);
        QMetaObject::invokeMethod(
            this, [this, song, cover, image] { didReadCover(song, cover, image); }, Qt::QueuedConnection);
    });
}

void ImageFlowViewCtr::didReadCover(const SongPtr &song, const Cover &cover, const QImage &image) {
    const int index = indexOfSongItem(song);
    // Removed meanwhile, or of another cover: its own picture comes, or has come.
    if (index < 0 || covers_.value(data_.at(index).get()) != cover)
        return;
    // Without a picture the item stays empty until its next update, which finds no cover and shows the default one.
    if (image.isNull() && coverOf(*song) == cover)
        song->setCoverImageIndex(-1);
    data_.at(index)->setImage(image);
}

void ImageFlowViewCtr::scrollToStart() {
    QScrollBar *bar = scrollView_->horizontalScrollBar();
    if (!view_->isVisible() || Look::shared().isMotionReduced()) {
        bar->setValue(0);
        return;
    }
    auto *scroll = new QPropertyAnimation(bar, "value", bar);
    scroll->setDuration(kScrollMilliseconds);
    scroll->setEasingCurve(QEasingCurve::InOutQuad);
    scroll->setEndValue(0);
    scroll->start(QAbstractAnimation::DeleteWhenStopped);
}

// What the strip asks and says

int ImageFlowViewCtr::numberOfItemsInFlowView(const ImageFlowView &) const { return countSongItem(); }

ImageFlowViewItemPtr ImageFlowViewCtr::itemAtIndex(const ImageFlowView &, int index) const {
    return data_.value(index);
}

void ImageFlowViewCtr::flowItemButtonClicked(ImageFlowViewItem &item) {
    if (delegate_)
        delegate_->findNewRecordItem(item.extendObject(), /*isPlay=*/false);
}

void ImageFlowViewCtr::flowItemID3ButtonClicked(ImageFlowViewItem &item) {
    if (delegate_)
        delegate_->getID3WithSongItem(item.extendObject());
}

void ImageFlowViewCtr::flowItemDoubleClicked(ImageFlowViewItem &item, const QPoint &) {
    if (delegate_)
        delegate_->findNewRecordItem(item.extendObject(), /*isPlay=*/true);
}
