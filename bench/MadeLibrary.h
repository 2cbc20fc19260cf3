// A made library for benchmarks: albums of twelve tracks, with names in the scripts that music comes in.
#pragma once

#include <QByteArray>

/// Writes `tracks` rows, of files that are not there, into the library of the home folder in the environment, which
/// has none yet. Returns the path of the library file.
QByteArray makeLibrary(int tracks);
