// The hardware input unit over the sound server.
//
// Threads: the unit made here keeps the contract of InputUnit.h; its audio thread is the loop thread of a connection of
// its own.
#pragma once

#include "platform/sound/InputUnit.h"

/// Makes units that record from the source whose index is the device id less 1, and from no other: where the source or
/// the server goes away under a started unit, the unit waits for a source of the same name and goes on by itself. The
/// length of such a gap goes to the log on the main thread, whose event loop must run for that.
InputUnitFactory pulseInputUnitFactory();
