// Points the program at a server, with the user's consent and a key.
#pragma once

#include "demo/RecognitionServer.h"
#include "identify/recognition/RecognitionSettings.h"
#include "platform/run/UserDefaults.h"

inline void setRecognition(const QString &address, bool isOnline = true, const char *key = RecognitionServer::kKey) {
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    for (const char *service : {kAcoustIDAddress, kMusicBrainzAddress, kCoverArtAddress})
        defaults.setObject(address, QLatin1String(service));
    defaults.setBool(isOnline, QLatin1String(kIdentifyOnline));
    defaults.setObject(QString::fromLatin1(key), QLatin1String(kAcoustIDKey));
    RecognitionSettings::refresh();
}
