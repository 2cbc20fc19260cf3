#include "features/LibrarySession.h"

#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "support/Keyboard.h"
#include "support/MadeAudio.h"
#include "support/OtherProgram.h"

#include <QDir>
#include <algorithm>
#include <cmath>
#include <iostream>

namespace {

constexpr size_t kListenFrames = 44'100 / 5;

QString makeToneOf(const QString &name, double hertz, int seconds) {
    return makeSound(name, QStringLiteral("sine=frequency=%1:sample_rate=44100:duration=%2").arg(hertz).arg(seconds));
}

double peakOf(const std::vector<float> &samples) {
    float peak = 0;
    for (const float sample : samples)
        peak = std::max(peak, std::abs(sample));
    return static_cast<double>(peak);
}

/// Of a tone, by how often it rises through zero.
double frequencyOf(const std::vector<float> &samples) {
    if (peakOf(samples) < 0.001)
        return 0;
    int rises = 0;
    for (size_t i = 1; i < samples.size(); ++i)
        rises += samples[i - 1] < 0 && samples[i] >= 0;
    return rises * 44'100.0 / static_cast<double>(samples.size());
}

} // namespace

void LibrarySession::SetUp() {
    const QString error = machine.start();
    ASSERT_TRUE(error.isNull()) << qPrintable(error);
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    defaults.setBool(/*value=*/false, "AutoFilterMusic");
    defaults.synchronize();
    QDateTime added = QDateTime::currentDateTime();
    for (const auto &[title, hertz] :
         {std::pair{"Anchor", kAnchorHertz}, {"Bell", kBellHertz}, {"Trace", kTraceHertz}}) {
        SongItem song;
        song.setTitle(title);
        song.setArtist("The Shore");
        song.setLength(60'000);
        song.setAddedDate(added = added.addDays(-1));
        song.setSongPath(makeToneOf(QString(title) + ".mp3", hertz, 60));
        ASSERT_GT(DataBaseManager::defaultManager().insertSongItem(song), 0);
    }
    DataBaseManager::defaultManager().closeDataBase();
}

void LibrarySession::TearDown() {
    if (HasFailure())
        std::cerr << bytesOf(inHome("corvidia.log"));
}

void LibrarySession::startProgram() {
    program.emplace(CORVIDIA_PROGRAM, inHome("corvidia.log"));
    ASSERT_TRUE(program->isReady());
    ASSERT_TRUE(focusTopmostOf(1));
    ASSERT_TRUE(program->hearsSound(1));
}

void LibrarySession::playTone() { ASSERT_TRUE(machine.sound().play(makeToneOf("played.wav", kPlayedHertz, 4))); }

bool LibrarySession::isHeard(double hertz) {
    return waitUntil([&] { return std::abs(frequencyOf(machine.sound().listen(kListenFrames)) - hertz) < 15; });
}

double LibrarySession::loudness() { return peakOf(machine.sound().listen(kListenFrames)); }

std::string LibrarySession::titles() {
    return outputOf("sqlite3", {inHome(".local/share/Tessarine Corvidia/Library.db"), "SELECT Title FROM Song"});
}

QStringList LibrarySession::trash() {
    return QDir(inHome(".local/share/Trash/files")).entryList(QDir::Files, QDir::Name);
}
