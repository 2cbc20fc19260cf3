#include "views/library/ID3ViewCtr.h"

#include "platform/run/FoldedText.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "store/TimeAndSizeText.h"
#include "views/controls/HighlightBox.h"
#include "views/controls/SketchButton.h"
#include "views/library/TagEditorView.h"
#include "views/library/TagField.h"
#include "views/pictures/ThumbnailComposer.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QImage>
#include <QLabel>
#include <QPromise>
#include <QStandardPaths>
#include <QThread>
#include <QThreadPool>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>

namespace {

const QString kCoverKey = QStringLiteral("cover");
const QString kCoverIndexKey = QStringLiteral("coverindex");
constexpr QSize kCoverSize(600, 600);
constexpr std::chrono::milliseconds kPatience(500); // the user takes what is done then for done at once
constexpr std::chrono::seconds kPatienceAtEnd(10);  // longer than any picture takes that may be a cover
constexpr unsigned long kPollMicroseconds = 1000;

// What a drop or the clipboard has for a cover.
struct CoverOffer {
    QString path;     // of a file of this machine; null for none
    QByteArray bytes; // where that is no picture
    PictureTrouble trouble = PictureTrouble::NotAPicture;
};

// The bytes as they came: whoever decodes them for us would not look at their size first.
CoverOffer offerOf(const QMimeData &data) {
    CoverOffer offer;
    const QList<QUrl> urls = data.urls();
    if (const auto file = std::ranges::find_if(urls, &QUrl::isLocalFile); file != urls.cend())
        offer.path = file->toLocalFile();
    else if (!urls.isEmpty())
        offer.trouble = PictureTrouble::Elsewhere;
    for (const char *format : {"image/png", "image/jpeg", "image/webp", "image/gif", "image/bmp", "image/tiff"})
        if (offer.bytes.isEmpty())
            offer.bytes = data.data(QString::fromLatin1(format));
    if (offer.bytes.isEmpty() && offer.path.isNull() && data.hasImage()) {
        // Of this program's own, and decoded already.
        QBuffer buffer(&offer.bytes);
        buffer.open(QIODevice::WriteOnly);
        qvariant_cast<QImage>(data.imageData()).save(&buffer, "PNG");
    }
    return offer;
}

CoverCopy copyOf(CoverOffer offer) {
    CoverCopy copy{{}, offer.trouble};
    if (!offer.path.isNull())
        copy.path = ThumbnailComposer::prepareThumbnailWithImage(offer.path, kCoverSize, &copy.trouble);
    if (copy.path.isNull() && !offer.bytes.isEmpty()) {
        QBuffer buffer(&offer.bytes);
        buffer.open(QIODevice::ReadOnly);
        copy.path = ThumbnailComposer::prepareThumbnailWithImage(buffer, kCoverSize, &copy.trouble);
    }
    return copy;
}

QFuture<CoverCopy> startCopy(const CoverOffer &offer) {
    const auto promise = std::make_shared<QPromise<CoverCopy>>();
    promise->start();
    QThreadPool::globalInstance()->start([promise, offer] {
        promise->addResult(copyOf(offer));
        promise->finish();
    });
    return promise->future();
}

bool isEditableState(const SongItem &song) {
    switch (static_cast<ID3Status>(song.getID3Status())) {
    case ID3Status::NotAsked:
    case ID3Status::NotFound:
    case ID3Status::Identified:
        return true;
    default:
        return false;
    }
}

const QString &valueOf(const SongItem &song, const QString &key) {
    return key == QLatin1String("title")    ? song.title()
           : key == QLatin1String("artist") ? song.artist()
           : key == QLatin1String("album")  ? song.album()
           : key == QLatin1String("year")   ? song.year()
                                            : song.genre();
}

// A cover whose file was gone when the library was read is in no list.
bool hasLocalCover(const SongItem &song) { return song.isHasLocalCover() && !song.coverImages().isEmpty(); }

// A pasted text may hold ends of lines, and what no tag keeps: it would end there in the file and in the database.
QString inOneLine(QString text) {
    for (QChar &unit : text)
        if (unit.category() == QChar::Other_Control || unit == QChar::LineSeparator ||
            unit == QChar::ParagraphSeparator)
            unit = QLatin1Char(' ');
    return text;
}

// Without leading zeros; "0" where there is none.
QString leadingNumber(const QString &text) {
    return QString::number(std::clamp<long long>(std::strtoll(text.toUtf8().constData(), /*endptr=*/nullptr, 10),
                                                 std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

ImageBrowserItemPtr makeItem(const QString &title, const QString &path, const QString &highlightPath, int version) {
    auto item = std::make_shared<ImageBrowserItem>();
    item->setTitle(title);
    item->setImagePath(path);
    item->setHighlightImagePath(highlightPath);
    item->setVersion(version);
    return item;
}

QString described(const QVariantMap &changes) {
    QStringList parts;
    for (auto change = changes.cbegin(); change != changes.cend(); ++change)
        parts << change.key() + '=' +
                     (change.value().typeId() == QMetaType::QStringList ? change.value().toStringList().join(',')
                                                                        : change.value().toString());
    return parts.join(QStringLiteral("; "));
}

} // namespace

ID3ViewCtr::ID3ViewCtr(ID3ViewCtrDelegate &delegate) : delegate_(delegate), view_(new TagEditorView) {
    for (auto field = view_->fields.cbegin(); field != view_->fields.cend(); ++field) {
        connect(field.value(), &TagField::ended, this, [this, key = field.key()] { textFieldAction(key); });
        connect(field.value(), &TagField::left, this, [this] { delegate_.editorWasLeft(); });
    }
    connect(leftButton(), &SketchButton::clicked, this, &ID3ViewCtr::leftButtonClicked);
    connect(rightButton(), &SketchButton::clicked, this, &ID3ViewCtr::rightButtonClicked);
    setSongItem(nullptr);
    isMouseIn_ = false;
    imageBrowser()->setDataSource(this);
    imageBrowser()->setDelegate(this);
    changeImageBrowserViewButton();
}

ID3ViewCtr::~ID3ViewCtr() {
    songItem_.reset(); // a field that loses the keyboard with its window ends nothing any more
    delete view_;
}

QWidget *ID3ViewCtr::view() const { return view_; }
TagField *ID3ViewCtr::field(const QString &key) const { return view_->fields.value(key); }
HighlightBox *ID3ViewCtr::box(const QString &key) const { return view_->boxes.value(key); }
QLabel *ID3ViewCtr::valueLabel(const QString &key) const { return view_->values.value(key); }
SketchButton *ID3ViewCtr::leftButton() const { return view_->leftButton; }
SketchButton *ID3ViewCtr::rightButton() const { return view_->rightButton; }
ImageBrowserView *ID3ViewCtr::imageBrowser() const { return view_->imageBrowser; }

// What is shown

QVariantMap ID3ViewCtr::defaultProperties() {
    QVariantMap properties{{"editable", false}, {kCoverKey, QStringList()}, {kCoverIndexKey, -1}};
    for (const char *key :
         {"title", "artist", "album", "year", "genre", "size", "date", "type", "bitrate", "samplerate"})
        properties.insert(QString::fromLatin1(key), QStringLiteral(""));
    return properties;
}

void ID3ViewCtr::updateID3Dict(QVariantMap &dict, const SongItem *formSongItem) {
    dict = defaultProperties();
    if (!formSongItem)
        return;
    const SongItem &song = *formSongItem;
    const auto setText = [&dict](const char *key, const QString &text) {
        if (!text.isNull())
            dict.insert(QString::fromLatin1(key), text);
    };
    dict.insert(QStringLiteral("editable"), isEditableState(song));
    for (const char *key : {"title", "artist", "album", "year", "genre"})
        setText(key, valueOf(song, QString::fromLatin1(key)));
    setText("size", ConvertSizeToString(song.size()));
    setText("date", song.dateString());
    setText("type", song.encodeKind());
    setText("bitrate", QStringLiteral("%1 kbps").arg(song.biteRate() / 1000));
    setText("samplerate", fixedText(song.sampleRate() / 1000.0, 3) + QStringLiteral(" kHZ"));
    dict.insert(kCoverKey, song.coverImages());
    dict.insert(kCoverIndexKey, song.coverImageIndex());
}

void ID3ViewCtr::updateSongItem(SongItem &song, const QVariantMap &formID3Dict) {
    const auto set = [&](const char *key, void (SongItem::*setter)(QString)) {
        if (const auto value = formID3Dict.constFind(QString::fromLatin1(key)); value != formID3Dict.cend())
            (song.*setter)(value->toString());
    };
    set("title", &SongItem::setTitle);
    set("artist", &SongItem::setArtist);
    set("album", &SongItem::setAlbum);
    set("year", &SongItem::setYear);
    set("genre", &SongItem::setGenre);
    if (formID3Dict.contains(kCoverIndexKey))
        song.setCoverImageIndex(formID3Dict.value(kCoverIndexKey).toInt());
    if (formID3Dict.contains(kCoverKey))
        song.setCoverImages(formID3Dict.value(kCoverKey).toStringList());
}

bool ID3ViewCtr::isEditable() const { return songItem_ && isEditableState(*songItem_); }

void ID3ViewCtr::setSongItem(const SongPtr &song) {
    if (!view_)
        return;
    if (song != songItem_) {
        endEditing();
        for (TagField *field : std::as_const(view_->fields))
            field->startOver();
    }
    songItem_ = song;
    view_->showsTrack(songItem_ != nullptr);
    if (songItem_) {
        updateID3Dict(properties_, songItem_.get());
        updateStateUI();
        showProperties();
    }
    isMouseIn_ = true;
    changeImageBrowserViewButton();
}

void ID3ViewCtr::showProperties() {
    const bool isEditable = properties_.value(QStringLiteral("editable")).toBool();
    for (auto field = view_->fields.cbegin(); field != view_->fields.cend(); ++field) {
        // Text that is being typed stays, unless it can't be ended any more.
        if (!isEditable || !field.value()->isChanged() || !field.value()->hasFocus())
            field.value()->setValue(properties_.value(field.key()).toString());
        field.value()->setReadOnly(!isEditable); // can still be read, and copied
        view_->boxes.value(field.key())->setIsEditable(isEditable);
    }
    for (auto value = view_->values.cbegin(); value != view_->values.cend(); ++value)
        value.value()->setText(properties_.value(value.key()).toString());
    imageBrowser()->setIsEditable(isEditable);
    leftButton()->setEnabled(isEditable);
    rightButton()->setEnabled(isEditable);
}

void ID3ViewCtr::setTitleFirstResonder() {
    TagField *title = field(QStringLiteral("title"));
    title->setFocus(Qt::TabFocusReason);
    title->selectAll();
}

// Texts

void ID3ViewCtr::endEditing() {
    if (!view_ || !songItem_)
        return;
    for (auto field = view_->fields.cbegin(); field != view_->fields.cend(); ++field)
        if (field.value()->isChanged())
            textFieldAction(field.key());
}

void ID3ViewCtr::textFieldAction(const QString &key) {
    if (!view_ || !isEditable())
        return;
    TagField &field = *this->field(key);
    const QString typed = field.isChanged() ? inOneLine(field.text()) : field.text();
    QString value = withoutBlanks(typed).toString();
    if (value.isEmpty())
        value = QStringLiteral(""); // and not an absent one
    else if (key == QLatin1String("year"))
        value = leadingNumber(value);
    field.setValue(value);
    // A genre has always been compared with the year, and so nearly every one counts as changed.
    const QString &former = key == QLatin1String("genre") ? songItem_->year() : valueOf(*songItem_, key);
    if (value != former)
        report(SongPtr(songItem_), {{key, value}});
}

void ID3ViewCtr::report(const SongPtr &song, const QVariantMap &changes) {
    updateSongItem(*song, changes);
    logLine(described(changes));
    delegate_.id3DataDidChange(song, changes);
    if (song != songItem_ || !view_)
        return;
    updateID3Dict(properties_, song.get());
    showProperties();
}

// Covers

void ID3ViewCtr::updateStateUI() {
    coverImages_.clear();
    if (songItem_) {
        const QStringList &covers = songItem_->coverImages();
        const int version = songItem_->version();
        const auto name = [all = covers.size()](qsizetype number) {
            return localizedString("Cover %1 of %2").arg(QString::number(number), QString::number(all));
        };
        coverImages_.append(makeItem(localizedString("No cover"), QStringLiteral("Sound.png"), {}, version));
        for (qsizetype i = 0; i < covers.size(); ++i) {
            const bool isLocal = hasLocalCover(*songItem_) && i == covers.size() - 1;
            coverImages_.append(makeItem(name(i + 1), covers.at(i), isLocal ? covers.at(i) : QString(), version));
        }
        if (!hasLocalCover(*songItem_))
            coverImages_.append(makeItem(localizedString("Add a cover"), QStringLiteral("SelectCoverImage.png"),
                                         QStringLiteral("SelectCoverPictureHighlight.png"), version));
    }
    imageBrowser()->scrollIndexToVisible(songItem_ ? songItem_->coverImageIndex() + 1 : 0);
    imageBrowser()->reloadData();
    changeImageBrowserViewButton();
}

void ID3ViewCtr::changeImageBrowserViewButton() {
    const bool isShown = isMouseIn_ && count() > 0;
    leftButton()->setVisible(isShown && visible() > 0);
    rightButton()->setVisible(isShown && (visible() == 0 || visible() != count() - 1));
    const qsizetype covers = songItem_ ? songItem_->coverImages().size() : 0;
    const bool isCover = visible() >= 1 && visible() <= covers;
    view_->setCoverNumber(isCover ? localizedString("%1 of %2").arg(QString::number(visible()), QString::number(covers))
                                  : QString());
}

void ID3ViewCtr::leftButtonClicked() {
    if (!songItem_)
        return;
    if (visible() != 0) {
        imageBrowser()->scrollIndexToVisible(visible() - 1, /*animated=*/true);
        songItem_->setCoverImageIndex(visible() - 1);
        coverImageIndexDidEndChange();
    }
    changeImageBrowserViewButton();
}

void ID3ViewCtr::rightButtonClicked() {
    if (!songItem_ || visible() + 1 >= count())
        return;
    imageBrowser()->scrollIndexToVisible(visible() + 1, /*animated=*/true);
    // The cell for adding a cover is no choice.
    if (hasLocalCover(*songItem_) || visible() != count() - 1) {
        songItem_->setCoverImageIndex(visible() - 1);
        coverImageIndexDidEndChange();
    }
    changeImageBrowserViewButton();
}

void ID3ViewCtr::stepCover(int step) {
    if (!isEditable())
        return;
    if (step < 0)
        leftButtonClicked();
    else
        rightButtonClicked();
}

void ID3ViewCtr::coverImageIndexDidEndChange() {
    logLine(QStringLiteral("begin updateSongItem"));
    QElapsedTimer timer;
    timer.start();
    if (songItem_->coverImages().size() == 1)
        logLine(QStringLiteral("[songItem_ coverImages] %1").arg(songItem_->coverImages().first()));
    report(SongPtr(songItem_), {{kCoverIndexKey, songItem_->coverImageIndex()}});
    logLine(QStringLiteral("end updateSongItem use time:%1")
                .arg(QString::number(static_cast<double>(timer.elapsed()) / 1000.0, 'f', 6)));
}

void ID3ViewCtr::coverImagesDidEndChange(const SongPtr &song) {
    report(song, {{kCoverIndexKey, song->coverImageIndex()}, {kCoverKey, song->coverImages()}});
}

// What is answered at once is answered as it is; a picture that takes longer comes in later, and the window goes on.
bool ID3ViewCtr::dragFile(ImageBrowserView &, const QMimeData &data) { return take(data, visible()); }

bool ID3ViewCtr::take(const QMimeData &data, int formerCell) {
    if (!isEditable() || coverImages_.isEmpty() || visible() != count() - 1)
        return false;
    const auto cover = std::make_shared<ComingCover>(ComingCover{songItem_, startCopy(offerOf(data)), formerCell});
    comingCovers_.append(cover);
    if (waitFor(*cover, kPatience))
        return takeComing(cover);
    auto *watcher = new QFutureWatcher<CoverCopy>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, cover] {
        watcher->deleteLater();
        takeComing(cover);
    });
    watcher->setFuture(cover->copy);
    return true;
}

bool ID3ViewCtr::waitFor(const ComingCover &cover, std::chrono::milliseconds patience) {
    for (const QDeadlineTimer deadline(patience); !cover.copy.isFinished() && !deadline.hasExpired();)
        QThread::usleep(kPollMicroseconds);
    return cover.copy.isFinished();
}

// The one that was dropped last counts, however long each took.
bool ID3ViewCtr::takeComing(const ComingCoverPtr &cover) {
    const qsizetype place = comingCovers_.indexOf(cover);
    const CoverCopy copy = cover->copy.result();
    if (place < 0) {
        if (!copy.path.isNull())
            QFile::remove(copy.path);
        return false;
    }
    comingCovers_.removeAt(place);
    if (takeCopy(cover->song, copy)) {
        const auto later = comingCovers_.begin() + place;
        comingCovers_.erase(std::remove_if(comingCovers_.begin(), later,
                                           [&cover](const auto &other) { return other->song == cover->song; }),
                            later);
        return true;
    }
    if (cover->song == songItem_ && view_ && visible() == count() - 1) {
        imageBrowser()->scrollIndexToVisible(cover->formerCell);
        changeImageBrowserViewButton();
    }
    return false;
}

void ID3ViewCtr::finishCovers() {
    while (!comingCovers_.isEmpty()) {
        const ComingCoverPtr cover = comingCovers_.first();
        if (waitFor(*cover, kPatienceAtEnd)) {
            takeComing(cover);
        } else {
            logLine(QStringLiteral("%1 gets no cover: its picture can't be read").arg(cover->song->songPath()));
            comingCovers_.removeFirst();
        }
    }
}

bool ID3ViewCtr::takeCopy(const SongPtr &song, const CoverCopy &copy) {
    if (copy.path.isNull()) {
        refuse(textOf(copy.trouble));
        return false;
    }
    if (!isEditableState(*song)) { // meanwhile
        QFile::remove(copy.path);
        refuse(localizedString("The track is being identified."));
        return false;
    }
    if (song == songItem_) {
        coverImages_.last()->setImagePath(copy.path);
        coverImages_.last()->setHighlightImagePath(copy.path);
        imageBrowser()->reloadData();
    }
    QStringList covers = song->coverImages();
    if (hasLocalCover(*song))
        covers.last() = copy.path;
    else
        covers.append(copy.path);
    song->setCoverImages(covers);
    song->setIsHasLocalCover(true);
    song->setCoverImageIndex(static_cast<int32_t>(covers.size()) - 1);
    coverImagesDidEndChange(song);
    if (song == songItem_ && view_)
        updateStateUI(); // the library keeps the picture at a place of its own
    return true;
}

void ID3ViewCtr::refuse(const QString &reason) {
    logLine(QStringLiteral("no cover: ") + reason);
    delegate_.coverWasRefused(reason);
}

bool ID3ViewCtr::takeCover(const QMimeData &data) {
    if (!isEditable())
        return false;
    const int former = visible();
    imageBrowser()->scrollIndexToVisible(count() - 1);
    const bool isTaken = take(data, former);
    changeImageBrowserViewButton();
    return isTaken;
}

void ID3ViewCtr::pasteCover() {
    if (const QMimeData *data = QApplication::clipboard()->mimeData())
        takeCover(*data);
}

void ID3ViewCtr::chooseCover() {
    if (!isEditable())
        return;
    const SongPtr song = songItem_;
    const QPointer<ID3ViewCtr> self(this);
    const QString path =
        QFileDialog::getOpenFileName(view_, localizedString("Choose a cover"), coverFolder(),
                                     localizedString("Pictures (*.jpg *.jpeg *.png *.gif *.bmp *.webp *.tif *.tiff)"));
    // While the dialog stood, the list may have gone to another track.
    if (path.isEmpty() || !self || song != songItem_)
        return;
    coverFolder_ = QFileInfo(path).path();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    takeCover(data);
}

QString ID3ViewCtr::coverFolder() const {
    for (const QString &folder : {coverFolder_, QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)})
        if (QFileInfo(folder).isDir())
            return folder;
    return QDir::homePath();
}

int ID3ViewCtr::numberOfItemsInImageBrowser(ImageBrowserView &) const { return count(); }

ImageBrowserItemPtr ID3ViewCtr::itemAtIndex(ImageBrowserView &, int index) const { return coverImages_.value(index); }
