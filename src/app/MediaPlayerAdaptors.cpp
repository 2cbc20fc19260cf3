#include "app/MediaPlayerAdaptors.h"

#include "app/MediaPlayerBus.h"

#include <QDBusConnection>
#include <QTimer>
#include <QUrl>
#include <cmath>
#include <functional>

namespace {

constexpr qint64 kMicroseconds = 1000; // in a millisecond

/// Text as the bus takes it: without zeros, and what is no Unicode replaced.
QString sendable(QString text) {
    text.remove(QChar::Null);
    return QString::fromUtf8(text.toUtf8());
}

QString urlOf(const QString &path) { return QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded()); }

void insertText(QVariantMap &metadata, const char *key, const QString &text) {
    if (!text.isEmpty())
        metadata.insert(key, sendable(text));
}

} // namespace

MediaPlayerRootAdaptor::MediaPlayerRootAdaptor(QObject *exported, MediaPlayerBusDelegate &delegate)
    : QDBusAbstractAdaptor(exported), delegate_(delegate) {}

void MediaPlayerRootAdaptor::Raise() {
    QTimer::singleShot(0, this, [this] { delegate_.raiseWindow(); });
}

void MediaPlayerRootAdaptor::Quit() {
    QTimer::singleShot(0, this, [this] { delegate_.quitProgram(); });
}

MediaPlayerAdaptor::MediaPlayerAdaptor(QObject *exported, MediaPlayerBusDelegate &delegate)
    : QDBusAbstractAdaptor(exported), delegate_(delegate) {}

void MediaPlayerAdaptor::later(void (MediaPlayerBusDelegate::*action)()) {
    QTimer::singleShot(0, this, std::function<void()>(std::bind_front(action, std::ref(delegate_))));
}

QVariantMap MediaPlayerAdaptor::told() const {
    return {{"PlaybackStatus", playbackStatus()},
            {"Metadata", metadata()},
            {"Volume", volume()},
            {"CanGoNext", canGoNext()},
            {"CanGoPrevious", canGoPrevious()},
            {"CanPlay", canPlay()},
            {"CanPause", canPause()},
            {"CanSeek", canSeek()}};
}

QString MediaPlayerAdaptor::playbackStatus() const {
    if (!delegate_.playedSong())
        return QStringLiteral("Stopped");
    return delegate_.isPlaying() ? QStringLiteral("Playing") : QStringLiteral("Paused");
}

/// There is one rate; asking for none means a pause.
void MediaPlayerAdaptor::setRate(double rate) {
    if (rate == 0)
        Pause();
}

QDBusObjectPath MediaPlayerAdaptor::trackID() const {
    return QDBusObjectPath(QStringLiteral("/com/tessarine/Corvidia/Track/%1")
                               .arg(static_cast<uint32_t>(delegate_.playedSong()->songID())));
}

qint64 MediaPlayerAdaptor::duration() const {
    const qint64 milliseconds = delegate_.durationMilliseconds();
    return (milliseconds > 0 ? milliseconds : delegate_.playedSong()->length()) * kMicroseconds;
}

QVariantMap MediaPlayerAdaptor::metadata() const {
    const SongPtr song = delegate_.playedSong();
    if (!song)
        return {};
    QVariantMap metadata{{"mpris:trackid", QVariant::fromValue(trackID())},
                         {"mpris:length", duration()},
                         {"xesam:url", urlOf(song->songPath())}};
    insertText(metadata, "xesam:title", song->title());
    insertText(metadata, "xesam:album", song->album());
    if (!song->artist().isEmpty())
        metadata.insert("xesam:artist", QStringList{sendable(song->artist())});
    if (!song->genre().isEmpty())
        metadata.insert("xesam:genre", QStringList{sendable(song->genre())});
    // The default cover is a resource, which nobody else can read.
    if (song->imagePath().startsWith('/'))
        metadata.insert("mpris:artUrl", urlOf(song->imagePath()));
    return metadata;
}

double MediaPlayerAdaptor::volume() const { return delegate_.volume(); }

void MediaPlayerAdaptor::setVolume(double volume) {
    if (!std::isnan(volume))
        delegate_.changeVolume(std::clamp(volume, 0.0, 1.0));
}

qlonglong MediaPlayerAdaptor::position() const {
    return delegate_.playedSong() ? delegate_.playedMilliseconds() * kMicroseconds : 0;
}

bool MediaPlayerAdaptor::canGoNext() const { return delegate_.canGoNext(); }
bool MediaPlayerAdaptor::canGoPrevious() const { return delegate_.canGoPrevious(); }
bool MediaPlayerAdaptor::canPlay() const { return delegate_.canPlay(); }
bool MediaPlayerAdaptor::canPause() const { return delegate_.playedSong() != nullptr; }
bool MediaPlayerAdaptor::canSeek() const { return delegate_.playedSong() && duration() > 0; }

void MediaPlayerAdaptor::Next() {
    if (canGoNext())
        later(&MediaPlayerBusDelegate::playNext);
}

void MediaPlayerAdaptor::Previous() {
    if (canGoPrevious())
        later(&MediaPlayerBusDelegate::playPrevious);
}

void MediaPlayerAdaptor::Pause() {
    if (canPause() && delegate_.isPlaying())
        later(&MediaPlayerBusDelegate::pausePlaying);
}

void MediaPlayerAdaptor::PlayPause() {
    if (delegate_.isPlaying() ? canPause() : canPlay())
        later(&MediaPlayerBusDelegate::playPause);
}

void MediaPlayerAdaptor::Stop() {
    if (delegate_.playedSong())
        later(&MediaPlayerBusDelegate::stopPlaying);
}

void MediaPlayerAdaptor::Play() {
    if (canPlay() && !delegate_.isPlaying())
        later(&MediaPlayerBusDelegate::startPlaying);
}

void MediaPlayerAdaptor::Seek(qlonglong Offset) {
    if (!canSeek())
        return;
    const qint64 length = duration();
    // Cut to the length first: a sum of any two numbers could overflow.
    const qint64 target = position() + std::clamp<qint64>(Offset, -length, length);
    if (target > length) {
        later(canGoNext() ? &MediaPlayerBusDelegate::playNext : &MediaPlayerBusDelegate::stopPlaying);
        return;
    }
    delegate_.seekTo(std::max<qint64>(target, 0) / kMicroseconds);
}

void MediaPlayerAdaptor::SetPosition(const QDBusObjectPath &TrackId, qlonglong Position) {
    // The track may have changed since the asker looked.
    if (canSeek() && TrackId == trackID() && Position >= 0 && Position <= duration())
        delegate_.seekTo(Position / kMicroseconds);
}

void MediaPlayerAdaptor::OpenUri([[maybe_unused]] const QString &Uri, const QDBusMessage &message) {
    message.setDelayedReply(true);
    QDBusConnection::sessionBus().send(
        message.createErrorReply(QDBusError::NotSupported, "The tracks of the library are played, and no others."));
}
