// Identification from outside: the program records three songs, and each gets its name from another source.
#pragma once

#include "demo/RecordedStream.h"

/// Records as `plan` has it: a song that a player on the bus names, one that only the services know (a server on this
/// computer stands for them), and the first one once more, which the library knows by now. The answer is what went
/// wrong, null when nothing did.
QString recordAndIdentify(const RecordingPlan &plan);

/// One line for each name, source and cover that is not what it should be.
QStringList complaintsAboutNames(const QJsonArray &tracks, const QString &outFolder);
