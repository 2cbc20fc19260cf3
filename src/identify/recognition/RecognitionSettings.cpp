#include "identify/recognition/RecognitionSettings.h"

#include "platform/run/UserDefaults.h"

#include <mutex>

namespace {

std::mutex mutex;
RecognitionSettings settings; // under mutex
QString theRefusedKey;        // under mutex

bool boolForKey(const char *key, bool absent) {
    const UserDefaults &defaults = UserDefaults::standardUserDefaults();
    return defaults.contains(QLatin1String(key)) ? defaults.boolForKey(QLatin1String(key)) : absent;
}

QString textForKey(const char *key, const char *absent) {
    const QString text = UserDefaults::standardUserDefaults().stringForKey(QLatin1String(key)).trimmed();
    return text.isEmpty() ? QString::fromLatin1(absent) : text;
}

QString addressForKey(const char *key, const char *absent) {
    QString address = textForKey(key, absent);
    while (address.endsWith('/'))
        address.chop(1);
    return address;
}

} // namespace

RecognitionSettings RecognitionSettings::ofUserDefaults() {
    return {.fromPlayers = boolForKey(kIdentifyFromPlayers, /*absent=*/true),
            .fromLibrary = boolForKey(kIdentifyFromLibrary, /*absent=*/true),
            .online = boolForKey(kIdentifyOnline, /*absent=*/false),
            .acoustIDKey = textForKey(kAcoustIDKey, CORVIDIA_ACOUSTID_KEY),
            .acoustIDAddress = addressForKey(kAcoustIDAddress, kAcoustIDDefaultAddress),
            .musicBrainzAddress = addressForKey(kMusicBrainzAddress, kMusicBrainzDefaultAddress),
            .coverArtAddress = addressForKey(kCoverArtAddress, kCoverArtDefaultAddress)};
}

RecognitionSettings RecognitionSettings::current() {
    const std::lock_guard lock(mutex);
    return settings;
}

void RecognitionSettings::refresh() {
    RecognitionSettings now = ofUserDefaults();
    const std::lock_guard lock(mutex);
    settings = std::move(now);
}

QString RecognitionSettings::refusedKey() {
    const std::lock_guard lock(mutex);
    return theRefusedKey;
}

void RecognitionSettings::setRefusedKey(const QString &key) {
    const std::lock_guard lock(mutex);
    theRefusedKey = key;
}
