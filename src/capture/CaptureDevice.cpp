#include "capture/CaptureDevice.h"

#include "capture/SoundServerConfiguration.h"
#include "platform/files/Folders.h"
#include "platform/run/Log.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace {

const RemappedSource &recorderSource() {
    static const RemappedSource source{"system_audio_recorder", kCaptureDeviceName};
    return source;
}

SoundServer &server() { return SoundServer::defaultServer(); }

QString markerPath() { return applicationSupportFolder() + "/" + kCaptureDriverName + ".installed"; }

bool setMarker() {
    QSaveFile marker(markerPath());
    return QDir().mkpath(applicationSupportFolder()) && marker.open(QIODevice::WriteOnly) &&
           marker.write(QByteArray(kCaptureDeviceName) + '\n') > 0 && marker.commit();
}

/// Null on success, else what failed.
QString install() {
    if (!server().pointRemappedSource(recorderSource()))
        return "the sound server did not make the source";
    const auto info = server().info();
    const auto output = server().defaultSink();
    if (!info || !output)
        return "the sound server does not answer";
    const QString argument = recorderSource().moduleArgument(output->monitorName);
    if (!addToSoundServerConfiguration(info->isPipeWire, RemappedSource::kModule, argument))
        return "the configuration of the sound server could not be written";
    if (!setMarker())
        return "could not write " + markerPath();
    return {};
}

/// False if a file stays.
bool takeAway() {
    server().followDefaultSink(std::nullopt);
    // A server that can't be reached has no source, and one that refuses loses it at its end, since the configuration
    // makes it no more.
    server().removeRemappedSource(recorderSource());
    const bool isConfigurationClean = removeFromSoundServerConfiguration();
    return (!QFile::exists(markerPath()) || QFile::remove(markerPath())) && isConfigurationClean;
}

bool isOutput(const QString &name) {
    for (const SoundSink &sink : server().sinks().value_or(QList<SoundSink>()))
        if (!name.isEmpty() && sink.description == name)
            return true;
    return false;
}

} // namespace

bool isInstallAudioDeviceWithClassName(const QString &className) {
    return className == kCaptureDeviceClass && QFile::exists(markerPath());
}

DeviceID getInPutAudioDeviceIDForName(const QString &name) {
    return inputDeviceIDForName(server().sources().value_or(QList<SoundSource>()), name);
}

DeviceID inputDeviceIDForName(const QList<SoundSource> &devices, const QString &name) {
    for (const SoundSource &source : devices)
        if (!name.isEmpty() && source.description == name && source.channels > 0)
            return source.index + 1;
    return 0;
}

DeviceID getDefaultInPutAudioDeviceID() {
    const auto info = server().info();
    const auto sources = info ? server().sources() : std::nullopt;
    for (const SoundSource &source : sources.value_or(QList<SoundSource>()))
        if (source.name == info->defaultSourceName)
            return source.index + 1;
    return 0;
}

DeviceID getDefaultAudioID() {
    const auto output = server().defaultSink();
    return output ? output->monitorIndex + 1 : 0;
}

bool isLaunchedRequiredAudioDevice(const QString &name) {
    const auto output = server().defaultSink();
    return output && !name.isEmpty() && output->description == name;
}

QString getDefaultAuidoEnginePath() {
    if (const auto output = server().defaultSink())
        return output->monitorName;
    logLine("Not Found output engine");
    return {};
}

int8_t launchAudioDeviceWithClassName(const QString &className) {
    if (className != kCaptureDeviceClass)
        return 0;
    const bool isPointed = server().pointRemappedSource(recorderSource());
    server().followDefaultSink(recorderSource());
    return isPointed ? 1 : 0;
}

void relaunchAudioDeviceWithClassName(const QString &className) {
    if (className == kCaptureDeviceClass)
        server().followDefaultSink(recorderSource());
}

bool isHadLaunchedAudioDeviceWithClassName(const QString &className) {
    return className == kCaptureDeviceClass && server().isRemappedSourcePointed(recorderSource());
}

int8_t stopAudioDeviceWithClassName(const QString &className) {
    if (className != kCaptureDeviceClass)
        return 0;
    server().followDefaultSink(std::nullopt);
    return 1;
}

bool installAudioDevice(const QString &name) {
    if (name != kCaptureDriverName) {
        logLine("Not Find the kextPath " + name);
        return false;
    }
    const QString error = install();
    if (error.isNull())
        return true;
    logLine("errorDic:" + error);
    logLine("Install Failed !");
    takeAway();
    return false;
}

bool unInstallAudioDevice(const QString &name) {
    if (name != kCaptureDriverBundleName || !isInstallAudioDeviceWithClassName(kCaptureDeviceClass))
        return false;
    const bool isClean = takeAway();
    logLine(QString("uninstall script %1").arg(isClean ? "" : "left a file behind"));
    return isClean;
}

bool isInstall1xAudioDevice(const QString &name) { return isOutput(name); }

bool isInstalledTessarineAudioDevice(const QString &name) { return isOutput(name); }

bool isExistTessarineAudioDevice() { return QFile::exists("/System/Library/Extensions/TessarineAudioDevice.kext"); }

QStringList findDeviceByKeyInArray(const QString &key, const QStringList &array) {
    return key.isEmpty() ? QStringList() : array.filter(key, Qt::CaseSensitive);
}
