// Texts for the user, keyed by their English form.
//
// Threads: any.
#pragma once

#include <QString>

/// The text of `key` in the user's language, or `key` itself where no catalogue has it.
QString localizedString(const char *key);
