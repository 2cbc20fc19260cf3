#include "platform/media/MoviePlayer.h"

#include "platform/media/PlayerLibrary.h"
#include "platform/run/Log.h"

#include <QCoreApplication>
#include <QFile>
#include <QThreadPool>
#include <clocale>
#include <cmath>
#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

// libmpv comes up only where numbers have a point. The application's constructor takes the user's locale; this runs at
// its end, before there are threads that could read the locale.
void writeNumbersWithAPoint() { setlocale(LC_NUMERIC, "C"); }
Q_COREAPP_STARTUP_FUNCTION(writeNumbersWithAPoint)

// The player knows files by this protocol alone. The address has the name's bytes as hexadecimal digits, so that no
// character of a name means anything to the player.
constexpr const char *kProtocol = "corvidia";

constexpr auto kClosePatience = std::chrono::milliseconds(300);

struct Option {
    const char *name;
    const char *value;
};

constexpr Option kOptions[] = {
    {"ao", "pulse"},
    {"audio-client-name", "Tessarine Corvidia"},
    // In 16 bits, low volumes would be silent.
    {"audio-format", "float"},
    // Milliseconds: on a busy machine less is heard as gaps, and more as a volume that lags behind its knob.
    {"pulse-buffer", "250"},
    {"audio-display", "no"},
    {"gapless-audio", "no"},
    {"hr-seek", "yes"},
    // A seek starts earlier and throws away what is before its target: MP3 frames need bytes of frames before them.
    {"hr-seek-demuxer-offset", "0.5"},
    {"idle", "yes"},
    {"pause", "yes"},
    {"cache", "no"},
    {"vid", "no"},
    {"sid", "no"},
    // Nothing but the file: no settings, no scripts, no lists, no neighbours of the file, nothing that it refers to.
    {"config", "no"},
    {"terminal", "no"},
    {"demuxer", "lavf"},
    {"access-references", "no"},
    {"autoload-files", "no"},
    {"ordered-chapters", "no"},
    {"resume-playback", "no"},
    {"ytdl", "no"},
    {"osc", "no"},
    {"load-scripts", "no"},
    {"load-auto-profiles", "no"},
    {"input-default-bindings", "no"},
};

// Scripts and keys that come with some versions: where one is unknown, there is nothing to turn off.
constexpr const char *kExtras[] = {"load-stats-overlay", "load-osd-console", "load-console",     "load-select",
                                   "load-positioning",   "load-commands",    "input-media-keys", "media-controls"};

/// For those who have a player, and so the library.
const PlayerLibrary &mpv() { return *PlayerLibrary::load(); }

/// Of libavformat's readers, those of sound files; among the others are lists that name further files.
bool limitReaders(mpv_handle *handle) {
    char name[] = "format_whitelist";
    char value[] = "mp3,mov,aac";
    char *keys[] = {name};
    mpv_node text{};
    text.u.string = value;
    text.format = MPV_FORMAT_STRING;
    mpv_node_list list{1, &text, keys};
    mpv_node map{};
    map.u.list = &list;
    map.format = MPV_FORMAT_NODE_MAP;
    return mpv().setOption(handle, "demuxer-lavf-o", MPV_FORMAT_NODE, &map) >= 0;
}

/// An open file. All but the opening runs on a thread of the player.
struct OpenFile {
    int descriptor;
    int64_t size;
    int64_t position = 0;
    std::atomic<bool> &isFaulty;
};

int64_t readFile(void *cookie, char *buffer, uint64_t size) {
    auto *file = static_cast<OpenFile *>(cookie);
    ssize_t got = 0;
    do
        got = read(file->descriptor, buffer, size);
    while (got < 0 && errno == EINTR);
    if (got < 0 || (got == 0 && size > 0 && file->position < file->size))
        file->isFaulty = true;
    if (got > 0)
        file->position += got;
    return got;
}

int64_t seekFile(void *cookie, int64_t offset) {
    auto *file = static_cast<OpenFile *>(cookie);
    const off_t position = lseek(file->descriptor, offset, SEEK_SET);
    if (position < 0)
        return MPV_ERROR_GENERIC;
    file->position = position;
    return position;
}

int64_t sizeOfFile(void *cookie) { return static_cast<OpenFile *>(cookie)->size; }

void closeFile(void *cookie) {
    auto *file = static_cast<OpenFile *>(cookie);
    close(file->descriptor);
    delete file;
}

/// Takes plain files only: opening a pipe would wait for a writer, and a device may do anything.
int openFile(void *isFaulty, char *address, mpv_stream_cb_info *info) {
    const QByteArray digits = QByteArray(address).mid(qstrlen(kProtocol) + qstrlen("://"));
    const QByteArray name = QByteArray::fromHex(digits.left(digits.indexOf('.')));
    struct stat status {};
    if (stat(name.constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return MPV_ERROR_LOADING_FAILED;
    const int descriptor = open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return MPV_ERROR_LOADING_FAILED;
    // It may have become another one in between.
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor);
        return MPV_ERROR_LOADING_FAILED;
    }
    info->cookie = new OpenFile{
        .descriptor = descriptor, .size = status.st_size, .isFaulty = *static_cast<std::atomic<bool> *>(isFaulty)};
    info->read_fn = readFile;
    info->seek_fn = seekFile;
    info->size_fn = sizeOfFile;
    info->close_fn = closeFile;
    return 0;
}

/// With the ending of the name, by which the player tells MP3 from what looks like it.
QByteArray addressOf(const QString &path) {
    const bool isMP3 = path.endsWith(".mp3", Qt::CaseInsensitive);
    return QByteArray(kProtocol) + "://" + QFile::encodeName(path).toHex() + (isMP3 ? ".mp3" : ".m4a");
}

} // namespace

void MoviePlayer::prepare() {
    QThreadPool::globalInstance()->start([] { PlayerLibrary::load(); });
}

MoviePlayer::Ptr MoviePlayer::create() {
    Ptr player(new MoviePlayer);
    if (player->setUp())
        return player;
    logLine("libmpv does not come up, so nothing can be played");
    return nullptr;
}

bool MoviePlayer::setUp() {
    if (!PlayerLibrary::load())
        return false;
    handle_ = mpv().create();
    if (!handle_)
        return false;
    for (const auto &[name, value] : kOptions)
        if (mpv().setOptionString(handle_, name, value) < 0)
            return false;
    for (const char *name : kExtras)
        mpv().setOptionString(handle_, name, "no");
    return limitReaders(handle_) && mpv().initialize(handle_) >= 0 &&
           mpv().addProtocol(handle_, kProtocol, &isFileFaulty_, openFile) >= 0 &&
           mpv().addHook(handle_, /*reply=*/0, "on_unload", /*priority=*/0) >= 0;
}

void MoviePlayer::Closer::operator()(MoviePlayer *player) const {
    if (player->handle_)
        mpv().setWakeupCallback(player->handle_, nullptr, nullptr);
    std::promise<void> promise;
    const std::future<void> isClosed = promise.get_future();
    std::thread([player, promise = std::move(promise)]() mutable {
        if (player->handle_)
            mpv().terminateDestroy(player->handle_);
        delete player;
        promise.set_value();
    }).detach();
    if (isClosed.wait_for(kClosePatience) != std::future_status::ready)
        logLine("the player does not close its sound");
}

// A command or a setting that is refused comes back as an event; what follows from it shows in the file's end.

void MoviePlayer::command(const char *const *words, uint64_t reply) {
    mpv().commandAsync(handle_, reply, const_cast<const char **>(words));
}

void MoviePlayer::setProperty(const char *name, const char *value, uint64_t reply) {
    mpv().setPropertyAsync(handle_, reply, name, MPV_FORMAT_STRING, &value);
}

void MoviePlayer::load(const QString &path) {
    isFileFaulty_ = false;
    setPaused(/*isPaused=*/true, /*reply=*/0);
    const QByteArray address = addressOf(path);
    const char *words[] = {"loadfile", address.constData(), nullptr};
    command(words, /*reply=*/0);
}

void MoviePlayer::seek(qint64 microseconds, uint64_t reply) {
    const QByteArray seconds = QByteArray::number(static_cast<double>(microseconds) / 1e6, 'f', 6);
    const char *words[] = {"seek", seconds.constData(), "absolute+exact", nullptr};
    command(words, reply);
}

void MoviePlayer::setPaused(bool isPaused, uint64_t reply) { setProperty("pause", isPaused ? "yes" : "no", reply); }

void MoviePlayer::setVolume(float volume) {
    // The player's volume is a percentage of which the third power is taken.
    setProperty("volume", QByteArray::number(100 * std::cbrt(volume), 'f', 4).constData(), /*reply=*/0);
}

void MoviePlayer::askForNumber(const char *property, uint64_t reply) {
    mpv().getPropertyAsync(handle_, reply, property, MPV_FORMAT_DOUBLE);
}

void MoviePlayer::askForText(const char *property, uint64_t reply) {
    mpv().getPropertyAsync(handle_, reply, property, MPV_FORMAT_STRING);
}

void MoviePlayer::letFileGo(uint64_t hook) { mpv().continueHook(handle_, hook); }

const mpv_event &MoviePlayer::nextEvent(double seconds) { return *mpv().waitEvent(handle_, seconds); }

void MoviePlayer::setWakeup(void (*callback)(void *), void *argument) {
    mpv().setWakeupCallback(handle_, callback, argument);
}
