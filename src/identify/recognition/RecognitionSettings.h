// What the user allows the recogniser to do, and where its services are.
//
// Threads: as each function says.
#pragma once

#include <QString>

// The settings' keys.
inline constexpr const char *kIdentifyFromPlayers = "IdentifyFromPlayers"; ///< true unless switched off
inline constexpr const char *kIdentifyFromLibrary = "IdentifyFromLibrary"; ///< true unless switched off
inline constexpr const char *kIdentifyOnline = "IdentifyOnline";           ///< absent until the user was asked
inline constexpr const char *kAcoustIDKey = "AcoustIDKey";
inline constexpr const char *kAcoustIDAddress = "AcoustIDAddress";
inline constexpr const char *kMusicBrainzAddress = "MusicBrainzAddress";
inline constexpr const char *kCoverArtAddress = "CoverArtAddress";

// Where the services are unless the settings say otherwise.
inline constexpr const char *kAcoustIDDefaultAddress = "https://api.acoustid.org";
inline constexpr const char *kMusicBrainzDefaultAddress = "https://musicbrainz.org";
inline constexpr const char *kCoverArtDefaultAddress = "https://coverartarchive.org";

struct RecognitionSettings {
    bool fromPlayers = true;
    bool fromLibrary = true;
    bool online = false;
    QString acoustIDKey;
    QString acoustIDAddress, musicBrainzAddress, coverArtAddress; ///< base addresses without a slash at the end

    /// As the settings are now. Main thread.
    static RecognitionSettings ofUserDefaults();
    /// What the sources go by. Any thread.
    static RecognitionSettings current();
    /// Takes the settings over for every thread: at the start, and after each change. Main thread.
    static void refresh();

    /// The application key that AcoustID has said it does not know, null for none: nobody is asked with it. Any thread.
    static QString refusedKey();
    static void setRefusedKey(const QString &key);
};
