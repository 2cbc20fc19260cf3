// The user's word on whether services in the network may be asked what a track is.
//
// Threads: main.
#pragma once

#include <QString>

/// What is sent where, in words for the user.
QString identificationConsentText();

/// Asks the user, unless they were asked before or there is no key with which the services could be asked. The answer
/// is stored and in force for every thread when this returns. Runs an event loop while the question stands. Whether
/// the services may be asked now.
bool askForConsentOnce();
