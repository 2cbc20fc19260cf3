#include "library/ImportCtr.h"

#include "platform/files/Folders.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/MainThread.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "views/dialogs/OpenMusicPanel.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSet>
#include <QWidget>

namespace {

constexpr const char *kIsFirstImport = "IsFirstImportLocalFile"; // true once a first import has happened
// A transaction of so many rows takes the main thread some milliseconds.
constexpr qsizetype kRowsAtOnce = 200;

} // namespace

ImportCtr::ImportCtr(ImportCtrDelegate &delegate, TrackLists &lists, QWidget &page)
    : delegate_(delegate), lists_(lists), page_(page) {
    NotificationCenter::defaultCenter().addObserver(this, "HasImportedFiles", [this](const Notification &news) {
        if (const auto *paths = std::any_cast<QStringList>(&news.object))
            importItems(*paths);
    });
}

ImportCtr::~ImportCtr() = default;

void ImportCtr::importLocalFiles() {
    if (isImporting() || openPanel_)
        return;
    showAllMusic();
    const bool isFirst = !UserDefaults::standardUserDefaults().boolForKey(kIsFirstImport);
    openPanel_ = new OpenMusicPanel(page_.window(), isFirst ? QFileInfo(defaultMusicFolder()).path() : QString());
    connect(openPanel_, &QDialog::finished, this, [this](int returnCode) { openPanelDidEnd(*openPanel_, returnCode); });
    openPanel_->open();
}

void ImportCtr::openPanelDidEnd(OpenMusicPanel &panel, int returnCode) {
    openPanel_.clear();
    if (returnCode != QDialog::Accepted)
        return;
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    if (!defaults.boolForKey(kIsFirstImport))
        defaults.setBool(/*value=*/true, kIsFirstImport);
    if (const QStringList paths = panel.chosenPaths(); !paths.isEmpty())
        performAfterDelay(/*seconds=*/0, this, [this, paths] { loadData(paths); });
}

void ImportCtr::importItems(const QStringList &paths) {
    showAllMusic();
    loadData(paths);
}

void ImportCtr::showAllMusic() {
    if (delegate_.category() != localizedString("All Music"))
        delegate_.showAllMusic();
}

void ImportCtr::loadData(const QStringList &paths) {
    if (isImporting())
        return;
    QStringList known;
    known.reserve(lists_.allSongArray()->size());
    for (const SongPtr &song : std::as_const(*lists_.allSongArray()))
        known << song->songPath();
    known += delegate_.pathsInProgress();
    isImporting_ = true;
    importFileController_ = std::make_unique<ImportFileController>(*this, known);
    importFileController_->setFiles(paths);
    importFileController_->runModalForMainWindow(page_.window());
}

void ImportCtr::importFileDidEnd(ImportFileController & /*controller*/, const SongArray &returnArray, bool hasFound) {
    if (!hasFound)
        delegate_.displayStatus(localizedString("There is nothing new to import."));
    arriving_ = returnArray;
    insertNext();
}

void ImportCtr::finish() {
    if (isImporting_)
        importFileController_->finish();
    while (!arriving_.isEmpty())
        insertSome();
}

// Some rows in each turn of the event loop, so that nobody waits for a large import; into the lists all at once.
void ImportCtr::insertNext() {
    const bool isAny = !arriving_.isEmpty();
    insertSome();
    if (!arriving_.isEmpty()) {
        performAfterDelay(/*seconds=*/0, this, [this] { insertNext(); });
        return;
    }
    lists_.insertImported(std::exchange(inserted_, {}));
    if (isAny)
        delegate_.didImport();
    if (const qsizetype refused = std::exchange(refused_, 0); refused > 0)
        delegate_.libraryWasNotWritten(
            refused == 1 ? localizedString("One of the tracks could not be added.")
                         : localizedString("%1 of the tracks could not be added.").arg(QLocale().toString(refused)));
    importFileController_->endSheet();
}

void ImportCtr::insertSome() {
    SongArray songs = arriving_.first(qMin(kRowsAtOnce, arriving_.size()));
    arriving_.remove(0, songs.size());
    leaveOutRecordings(songs);
    for (const SongPtr &song : songs)
        song->setAddedDate(QDateTime::currentDateTimeUtc());
    const QList<int32_t> numbers =
        songs.isEmpty() ? QList<int32_t>() : DataBaseManager::defaultManager().insertSongItems(songs);
    SongArray taken;
    for (qsizetype i = 0; i < songs.size(); ++i) {
        if (numbers.at(i) <= 0) {
            refuse(*songs.at(i));
            continue;
        }
        songs.at(i)->setSongID(numbers.at(i));
        taken << songs.at(i);
    }
    lists_.noteImported(taken);
    inserted_ += taken;
}

/// Its covers take up no room: it may be for want of room that the library did not take it.
void ImportCtr::refuse(const SongItem &song) {
    ++refused_;
    for (const QString &cover : song.coverImages())
        QFile::remove(cover);
}

/// What was recorded while the import ran, in a folder that it searched, comes in as a recording only.
void ImportCtr::leaveOutRecordings(SongArray &songs) const {
    const QStringList inProgress = delegate_.pathsInProgress();
    QSet<QString> recordings(inProgress.begin(), inProgress.end());
    for (const SongPtr &song : std::as_const(*lists_.newRecordArray()))
        recordings.insert(song->songPath());
    songs.removeIf([&recordings](const SongPtr &song) { return recordings.contains(song->songPath()); });
}

void ImportCtr::importSheetDidEnd() { isImporting_ = false; }
