#include "views/library/MusicToolKitView.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/ProgressLine.h"
#include "views/controls/SketchedPushButton.h"
#include "views/controls/SketchedSheet.h"
#include "views/library/MissingTracksView.h"

#include <QEvent>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPointer>
#include <QVBoxLayout>
#include <algorithm>

namespace {

constexpr QSize kPictureSize(40, 40);
constexpr int kPageMargin = 20;
constexpr int kCardMargin = 18;

class Picture : public QWidget {
public:
    Picture(QString name, QWidget *parent) : QWidget(parent), name_(std::move(name)) { setFixedSize(kPictureSize); }

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter(this).drawPixmap(0, 0, imageNamed(name_, kPictureSize, devicePixelRatioF()));
    }

private:
    QString name_;
};

/// A label in the quiet colour of second lines, in both appearances.
class SoftLabel : public QLabel {
public:
    SoftLabel(const QString &text, QWidget *parent) : QLabel(text, parent) {
        setTextFormat(Qt::PlainText);
        setFont(lookFont(kSecondLinePixels));
        setForegroundRole(QPalette::WindowText);
        dress();
    }

protected:
    void changeEvent(QEvent *event) override {
        if (event->type() == QEvent::PaletteChange)
            dress();
        QLabel::changeEvent(event);
    }

private:
    void dress() {
        QPalette soft;
        soft.setColor(QPalette::WindowText, lookColour(LookColour::Soft));
        if (palette().color(QPalette::WindowText) != soft.color(QPalette::WindowText))
            setPalette(soft);
    }
};

QString counted(const char *one, const char *many, qsizetype count) {
    return count == 1 ? localizedString(one) : localizedString(many).arg(QLocale().toString(count));
}

SongArray songsOf(const QList<MissingTrack> &tracks) {
    SongArray songs;
    for (const MissingTrack &track : tracks)
        songs.append(track.song);
    return songs;
}

bool hasCandidate(const MissingTrack &track) { return !track.candidate.isEmpty(); }

bool isAnyFound(const QList<MissingTrack> &tracks) { return std::any_of(tracks.cbegin(), tracks.cend(), hasCandidate); }

// Picture, title over a line of text, and a button at the right.
QHBoxLayout *makeHead(const QString &picture, const char *title, QLabel *text, QPushButton *button, QWidget *card) {
    auto *heading = new QLabel(localizedString(title), card);
    heading->setTextFormat(Qt::PlainText);
    heading->setFont(lookFont(kStatusPixels, QFont::DemiBold));
    auto *texts = new QVBoxLayout;
    texts->setSpacing(3);
    texts->addWidget(heading);
    texts->addWidget(text);
    auto *head = new QHBoxLayout;
    head->setSpacing(16);
    head->addWidget(new Picture(picture, card), 0, Qt::AlignTop);
    head->addLayout(texts, 1);
    head->addWidget(button, 0, Qt::AlignVCenter);
    return head;
}

} // namespace

MusicToolKitView::MusicToolKitView(MusicToolKitViewDelegate &delegate, QWidget *parent)
    : QWidget(parent), delegate_(delegate) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, kPageMargin);
    layout->setSpacing(12);
    layout->addWidget(makeFolderCard());
    layout->addWidget(missingCard_ = makeMissingCard());
    layout->addSpacerItem(new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::MinimumExpanding));
    setResultShown(false);
    setAccessibleName(localizedString("Music ToolKit"));
}

QWidget *MusicToolKitView::makeFolderCard() {
    auto *card = new SketchedSheet(/*margin=*/2, /*radius=*/12, this);
    card->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto *text = new SoftLabel(localizedString("What you record is saved here."), card);
    auto *button = new SketchedPushButton(localizedString("Open the folder of recordings"), /*isDefault=*/false, card);
    auto *head = makeHead(QStringLiteral("toolkit-folder"), "Recordings", text, button, card);
    head->setContentsMargins(kCardMargin, kCardMargin, kCardMargin, kCardMargin);
    card->setLayout(head);
    connect(button, &QPushButton::clicked, this, [this] { delegate_.openRecordingsFolder(); });
    return card;
}

QWidget *MusicToolKitView::makeMissingCard() {
    auto *card = new SketchedSheet(/*margin=*/2, /*radius=*/12, this);
    lblMissing_ = new SoftLabel(localizedString("Looks for tracks whose files are no longer where they were."), card);
    findBtn_ = new SketchedPushButton(localizedString("Find missing tracks"), /*isDefault=*/false, card);
    progress_ = new ProgressLine(card);
    progress_->setAccessibleName(localizedString("Find missing tracks"));
    progress_->hide();
    result_ = new QWidget(card);
    lstMissing_ = new MissingTracksView(result_);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(2);
    const auto addButton = [&](const char *title) {
        auto *button = new SketchedPushButton(localizedString(title), /*isDefault=*/false, result_);
        buttons->addWidget(button);
        return button;
    };
    takeOutBtn_ = addButton("Take out of the library");
    acceptBtn_ = addButton("Accept the new place");
    buttons->addStretch();
    takeAllOutBtn_ = addButton("Take all out");
    acceptAllBtn_ = addButton("Accept all new places");
    auto *result = new QVBoxLayout(result_);
    result->setContentsMargins(0, 0, 0, 0);
    result->addWidget(lstMissing_, 1);
    result->addLayout(buttons);

    auto *layout = new QVBoxLayout(card);
    layout->setContentsMargins(kCardMargin, kCardMargin, kCardMargin, kCardMargin);
    layout->setSpacing(10);
    layout->addLayout(makeHead(QStringLiteral("toolkit-missing"), "Missing tracks", lblMissing_, findBtn_, card));
    layout->addWidget(progress_);
    layout->addWidget(result_, 1);

    const auto takeSelectedOut = [this] { takeOut(lstMissing_->selectedTracks()); };
    const auto acceptSelected = [this] { acceptPlaces(lstMissing_->selectedTracks()); };
    connect(findBtn_, &QPushButton::clicked, this, &MusicToolKitView::find);
    connect(takeOutBtn_, &QPushButton::clicked, this, takeSelectedOut);
    connect(acceptBtn_, &QPushButton::clicked, this, acceptSelected);
    connect(takeAllOutBtn_, &QPushButton::clicked, this, [this] { takeOut(lstMissing_->tracks()); });
    connect(acceptAllBtn_, &QPushButton::clicked, this, [this] { acceptPlaces(lstMissing_->tracks()); });
    connect(lstMissing_, &MissingTracksView::deletePressed, this, takeSelectedOut);
    connect(lstMissing_, &MissingTracksView::enterPressed, this, acceptSelected);
    connect(lstMissing_, &MissingTracksView::didSelect, this, &MusicToolKitView::updateButtons);
    return card;
}

void MusicToolKitView::find() {
    showProgress(0, 0);
    delegate_.findMissingTracks();
}

void MusicToolKitView::showProgress(int done, int all) {
    // The page keeps the keyboard's place for what comes of the search.
    if (findBtn_->hasFocus() || result_->isAncestorOf(focusWidget()))
        setFocus();
    findBtn_->setEnabled(false);
    setResultShown(false);
    progress_->setRange(0, qMax(1, all)); // a range of nothing would stand for "unknown", and move
    progress_->setValue(done);
    progress_->show();
    lblMissing_->setText(
        localizedString("Looked at %1 of %2 tracks.").arg(QLocale().toString(done), QLocale().toString(all)));
}

void MusicToolKitView::showMissing(const SongArray &songs, const QStringList &candidates) {
    QList<MissingTrack> tracks;
    tracks.reserve(songs.size());
    for (qsizetype i = 0; i < songs.size(); ++i)
        tracks.append({.song = songs.at(i), .candidate = candidates.value(i)});
    findBtn_->setEnabled(true);
    progress_->hide();
    lstMissing_->setTracks(std::move(tracks));
    updateFound();
    if (hasFocus())
        songs.isEmpty() ? findBtn_->setFocus() : lstMissing_->setFocus();
}

// The card takes what the page has left only when it has a list to show.
void MusicToolKitView::setResultShown(bool isShown) {
    result_->setVisible(isShown);
    missingCard_->setSizePolicy(QSizePolicy::Preferred, isShown ? QSizePolicy::Expanding : QSizePolicy::Maximum);
}

void MusicToolKitView::updateFound() {
    const qsizetype count = lstMissing_->tracks().size();
    const bool hadFocus = result_->isAncestorOf(focusWidget());
    setResultShown(count > 0);
    lblMissing_->setText(count == 0 ? localizedString("No track is missing.")
                                    : counted("One track is missing.", "%1 tracks are missing.", count));
    if (count == 0 && hadFocus)
        findBtn_->setFocus();
    updateButtons();
}

void MusicToolKitView::updateButtons() {
    const QList<MissingTrack> selected = lstMissing_->selectedTracks();
    takeOutBtn_->setEnabled(!selected.isEmpty());
    acceptBtn_->setEnabled(isAnyFound(selected));
    takeAllOutBtn_->setEnabled(!lstMissing_->tracks().isEmpty());
    acceptAllBtn_->setEnabled(isAnyFound(lstMissing_->tracks()));
}

void MusicToolKitView::takeOut(const QList<MissingTrack> &tracks) {
    if (tracks.isEmpty())
        return;
    const SongArray songs = songsOf(tracks);
    if (songs.size() > 1) {
        const QPointer<MusicToolKitView> self = this; // the window may go while the question stands
        const PanelAnswer answer = runPanel(
            {.message = localizedString("Take %1 tracks out of the library?").arg(QLocale().toString(songs.size())),
             .text = localizedString("Their files are gone already. Nothing on the disk is changed."),
             .buttons = {localizedString("Take out"), localizedString("Cancel")},
             .suppression = {}});
        if (answer.button != 0 || !self)
            return;
    }
    delegate_.removeTracks(songs);
    didHandle(songs);
}

void MusicToolKitView::acceptPlaces(const QList<MissingTrack> &tracks) {
    SongArray songs;
    // The delegate may bring a new list meanwhile.
    const QList<MissingTrack> all = tracks; // NOLINT(performance-unnecessary-copy-initialization)
    for (const MissingTrack &track : all) {
        if (!hasCandidate(track))
            continue;
        delegate_.locateTrack(track.song, track.candidate);
        songs.append(track.song);
    }
    if (!songs.isEmpty())
        didHandle(songs);
}

void MusicToolKitView::didHandle(const SongArray &songs) {
    QSet<const SongItem *> handled;
    for (const SongPtr &song : songs)
        handled.insert(song.get());
    lstMissing_->removeSongs(handled);
    updateFound();
}

void MusicToolKitView::paintEvent(QPaintEvent *) { QPainter(this).fillRect(rect(), lookColour(LookColour::Paper)); }
