#include "views/dialogs/IdentificationConsent.h"

#include "identify/recognition/RecognitionSettings.h"
#include "platform/desktop/Panel.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/UserDefaults.h"

QString identificationConsentText() {
    return localizedString("What is sent is an acoustic fingerprint of a track and its length, to AcoustID, and what "
                           "it is called, with its artist and album, to MusicBrainz and the Cover Art Archive. A "
                           "cover in the network that a player names is fetched from there. Sound never leaves "
                           "this computer.");
}

bool askForConsentOnce() {
    static bool isAsking = false; // the event loop of the question lets others come here
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    const RecognitionSettings settings = RecognitionSettings::ofUserDefaults();
    if (isAsking || defaults.contains(kIdentifyOnline) || settings.acoustIDKey.isEmpty())
        return settings.online;
    isAsking = true;
    const Panel question{localizedString("May online services be asked for the names of your tracks?"),
                         identificationConsentText() + QStringLiteral("\n\n") +
                             localizedString("You can change your mind at any time: choose Identification... in the "
                                             "menu."),
                         {localizedString("Allow"), localizedString("Don't Allow")},
                         {}};
    const bool isAllowed = runPanel(question).button == 0;
    isAsking = false;
    defaults.setBool(isAllowed, kIdentifyOnline);
    RecognitionSettings::refresh();
    return isAllowed;
}
