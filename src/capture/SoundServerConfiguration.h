// The entry in the user's own sound server configuration that makes the source again after a restart.
//
// Threads: the main thread.
#pragma once

#include <QString>

/// Enters the loading of `module` with `argument`: for PipeWire as a drop-in file of its own, for PulseAudio as a
/// marked block in the user's start script, which begins as a copy of the system's by inclusion where there is none.
/// An entry from before is replaced. False when a file could not be written; each file is written whole or not at all.
bool addToSoundServerConfiguration(bool isPipeWire, const QString &module, const QString &argument);

/// Takes the entry out of both, to the byte. True when there is none. False when a file could not be written.
bool removeFromSoundServerConfiguration();
