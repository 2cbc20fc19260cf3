#include "app/IdentifyGate.h"

#include "library/LibraryCtr.h"
#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "tags/audio/AudioConverter.h"
#include "views/dialogs/IdentificationConsent.h"
#include "views/window/MainWindowView.h"
#include "views/window/StatusLine.h"

#include <utility>

namespace {

constexpr qint64 kShortestLength = 20'000; // milliseconds
constexpr const char *kWarnsOfShort = "SHowWarningLess20S";
constexpr std::chrono::seconds kPatienceAtEnd(3);

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

void setStatus(SongItem &song, ID3Status status) { song.setGetID3Status(static_cast<int32_t>(status)); }

QVariantMap taskOf(const SongItem &song) {
    return {{QStringLiteral("Path"), song.songPath()},
            {QStringLiteral("SongID"), song.songID()},
            {QStringLiteral("Priority"), 3},
            {QStringLiteral("FileTime"), song.length() / 1000},
            {QStringLiteral("Length"), song.length()}};
}

} // namespace

IdentifyGate::IdentifyGate(LibraryCtr &library, MainWindowView &window) : libraryCtr_(library), window_(window) {}

IdentifyGate::~IdentifyGate() {
    if (creation_.joinable())
        creation_.join();
    if (g_GetMusicID3Controller_)
        g_GetMusicID3Controller_->setDelegate(nullptr);
}

// The queue

void IdentifyGate::initGetID3Ctr() {
    g_IsInitingGetID3_ = true;
    askForController(&IdentifyGate::getID3WhenNotInit);
}

void IdentifyGate::settingsDidChange() {
    if (!g_GetMusicID3Controller_ && !g_IsInitingGetID3_ && !mainExiting_)
        initGetID3Ctr();
}

void IdentifyGate::askForController(void (IdentifyGate::*then)(GetMusicID3Controller *)) {
    if (creation_.joinable())
        creation_.join(); // has said its word
    creation_ = std::thread([this, then] {
        GetMusicID3Controller *controller = GetMusicID3Controller::defaultManager();
        performOnMainThread([self = QPointer(this), then, controller] {
            if (self && !self->mainExiting_)
                (self->*then)(controller);
        });
    });
}

// While all sources are turned off it is as if there were no queue.
GetMusicID3Controller *IdentifyGate::usableController() const {
    return g_GetMusicID3Controller_ && g_GetMusicID3Controller_->isReady() ? g_GetMusicID3Controller_ : nullptr;
}

bool IdentifyGate::isGettingID3() const { return g_GetMusicID3Controller_ && g_GetMusicID3Controller_->isGettingID3(); }

void IdentifyGate::getID3WhenNotInit(GetMusicID3Controller *controller) {
    g_GetMusicID3Controller_ = controller;
    g_IsInitingGetID3_ = false;
    const SongArray songs = std::exchange(marrSongItemsWhenNotInit_, {});
    if (controller) {
        if (!songs.isEmpty())
            getID3Arrays(songs);
        return;
    }
    for (const SongPtr &song : songs) {
        setStatus(*song, ID3Status::NotFound);
        libraryCtr_.reloadWithSongItem(song);
    }
}

// The user asks

void IdentifyGate::getID3WithSongItem(const SongPtr &song) {
    if (libraryCtr_.playCtr().isFileExist(song))
        getID3WithSongItems({song}, /*isMutableGet=*/false);
}

void IdentifyGate::getID3WithSongItems(const SongArray &songs, bool isMutableGet) {
    if (songs.isEmpty() || (!isMutableGet && skipsShort20s(songs.first())) || mainExiting_)
        return;
    askForConsentOnce();
    if (mainExiting_) // while the question stood
        return;
    if (g_IsInitingGetID3_ || usableController())
        continueGetSongItems(songs);
    else
        showConnectionSheet(songs);
}

// Nobody is there to be asked: neither short tracks nor a missing queue are spoken of.
void IdentifyGate::identifyRecording(const SongPtr &song) {
    if (!g_IsInitingGetID3_ && !usableController())
        return;
    if (defaults().contains("MusicFilesAutoGetID3") && !defaults().boolForKey("MusicFilesAutoGetID3"))
        return;
    if (libraryCtr_.playCtr().isFileExist(song))
        continueGetSongItems({song});
}

void IdentifyGate::continueGetSongItems(const SongArray &songs) {
    // The editor takes nothing for a track that waits.
    libraryCtr_.editCtr().endEditing(songs);
    if (!g_IsInitingGetID3_) {
        getID3Arrays(songs);
        return;
    }
    for (const SongPtr &song : songs) {
        setStatus(*song, ID3Status::Waiting);
        marrSongItemsWhenNotInit_.append(song);
        libraryCtr_.reloadWithSongItem(song);
    }
}

void IdentifyGate::getID3Arrays(const SongArray &songs) {
    QList<QVariantMap> tasks;
    for (const SongPtr &song : songs) {
        setStatus(*song, ID3Status::Waiting);
        libraryCtr_.identifyCtr().changeID3GetingStatus(song);
        logLine(QStringLiteral("getID3WithSongItem %1").arg(song->songID()));
        tasks.append(taskOf(*song));
    }
    g_GetMusicID3Controller_->setDelegate(this);
    g_GetMusicID3Controller_->addMusicsWantedID3Path(tasks);
    if (!g_GetMusicID3Controller_->isGettingID3())
        g_GetMusicID3Controller_->startGet();
    libraryCtr_.listViewCtr().reloadTable();
}

// Short tracks

bool IdentifyGate::skipsShort20s(const SongPtr &song) {
    if (!isShort20s(*song))
        return false;
    setStatus(*song, ID3Status::NotFound);
    DataBaseManager::defaultManager().updateSongItem(*song);
    libraryCtr_.reloadWithSongItem(song);
    return true;
}

bool IdentifyGate::isShort20s(const SongItem &song) {
    if (song.length() >= kShortestLength)
        return false;
    if (defaults().boolForKey(kWarnsOfShort)) {
        const PanelAnswer answer = runPanel(
            {.message = localizedString("This track is shorter than 20s, which can't be identified successfully"),
             .text = localizedString("The function of Music Identify require:\n1 Internet Connection.\n2 The initial "
                                     "20 seconds part of the track is needed."),
             .buttons = {localizedString("OK")},
             .suppression = localizedString("Don't ask me again")});
        defaults().setBool(!answer.suppressed, kWarnsOfShort);
    }
    return true;
}

// The connection

void IdentifyGate::showConnectionSheet(const SongArray &songs) {
    songsOfSheet_ += songs;
    if (warningNetworkWnd_)
        return;
    warningNetworkWnd_ = new ConnectionSheet(&window_);
    warningNetworkWnd_->setAttribute(Qt::WA_DeleteOnClose);
    connect(warningNetworkWnd_, &ConnectionSheet::retryWanted, this, &IdentifyGate::retryConnect);
    connect(warningNetworkWnd_, &QDialog::finished, this, [this](int isContunueGetID3) {
        const SongArray waiting = std::exchange(songsOfSheet_, {});
        if (isContunueGetID3)
            continueGetSongItems(waiting);
    });
    warningNetworkWnd_->open();
}

void IdentifyGate::retryConnect() {
    warningNetworkWnd_->setTrying(true);
    askForController(&IdentifyGate::retryDidEnd);
}

void IdentifyGate::retryDidEnd(GetMusicID3Controller *controller) {
    g_GetMusicID3Controller_ = controller;
    if (!warningNetworkWnd_)
        return;
    warningNetworkWnd_->setTrying(false);
    if (usableController())
        warningNetworkWnd_->accept();
}

// What comes of it

void IdentifyGate::showStatus(const char *key) { window_.lblStatus()->setStatus(localizedString(key)); }

void IdentifyGate::displayNomarlStatus() {
    if (!isGettingID3())
        libraryCtr_.searchCtr().updateStatus();
}

void IdentifyGate::getID3DidBegin(int32_t songID) {
    libraryCtr_.identifyCtr().upDateSongItemForSearchingID3(songID);
    showStatus("Accessing Gracenote® Database…");
}

void IdentifyGate::getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex) {
    libraryCtr_.identifyCtr().getID3DidFinish(info, RecorderIndex);
    showStatus("Searching for Album Artwork...");
}

void IdentifyGate::getID3DidFailWithError(int32_t songID) {
    libraryCtr_.identifyCtr().getID3Failed(songID);
    displayNomarlStatus();
}

void IdentifyGate::getCoverImageDidFinish(const QStringList &paths, int32_t RecorderIndex) {
    libraryCtr_.identifyCtr().upDateSongItemForSearchID3Fininshed(paths, RecorderIndex);
    displayNomarlStatus();
}

void IdentifyGate::getCoverImageDidFailWithError(int32_t songID) {
    libraryCtr_.identifyCtr().getID3Failed(songID);
    displayNomarlStatus();
}

// The end

bool IdentifyGate::mainWindowWillClose() {
    mainExiting_ = true;
    if (!g_GetMusicID3Controller_)
        return false;
    g_GetMusicID3Controller_->stop();
    // A worker that is at a file which does not answer is left behind.
    GetMusicID3Controller::waitForWorkers(kPatienceAtEnd);
    return true;
}

void IdentifyGate::NotifyGetID3ThreadWillExit() {
    if (!mainExiting_)
        return;
    logLine(QStringLiteral("[AudioConverter Uninitialize]"));
    AudioConverter::Uninitialize();
}
