// The real program on a machine of its own, with a library of three tracks that can be told by their tones.
#pragma once

#include "demo/PrivateMachine.h"
#include "demo/RunningProgram.h"

#include <gtest/gtest.h>
#include <optional>

class LibrarySession : public testing::Test {
protected:
    static constexpr double kAnchorHertz = 300;
    static constexpr double kBellHertz = 500;
    static constexpr double kTraceHertz = 700;
    static constexpr double kPlayedHertz = 900; ///< what record() plays

    /// Brings up everything but the program.
    void SetUp() override;
    void TearDown() override;
    /// Starts the program and waits until it shows its window and hears the sound server.
    void startProgram();
    /// Some seconds of a tone, as some other program plays it.
    void playTone();

    /// A tone of `hertz`, 0 for silence, comes out of the speakers before the patience ends.
    bool isHeard(double hertz);
    /// The loudest sample of a fifth of a second.
    double loudness();
    /// The titles in the library file, in the order in which they came.
    static std::string titles();
    /// Files in the Trash.
    static QStringList trash();

    PrivateMachine machine{PrivateSoundServer::Kind::PulseAudio};
    std::optional<RunningProgram> program;
};
