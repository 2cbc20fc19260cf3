// The capture device: the source named "System Audio Recorder" that passes on what the computer plays.
//
// It is a remapped source on the user's sound server, so that nothing here needs more rights than the user has.
// "Installed" means that a marker of ours stands in the application support folder; then the source is also in the
// user's own configuration of the sound server, and is there again after a restart.
//
// Threads: the main thread. What asks the sound server is answered within two seconds, as a failure if need be.
#pragma once

#include "platform/sound/AudioTypes.h"
#include "platform/sound/SoundServer.h"

#include <QString>
#include <QStringList>
#include <cstdint>

/// Stands for the device where its class is asked for. Any other class name is of no device.
inline constexpr const char *kCaptureDeviceClass = "com_Lantrel_Driver_SystemAudioRecorderEngine";
/// The name of the input device, as the user and other programs see it.
inline constexpr const char *kCaptureDeviceName = "System Audio Recorder";
/// What installs the device.
inline constexpr const char *kCaptureDriverName = "SystemAudioRecorder";
/// What uninstalls it.
inline constexpr const char *kCaptureDriverBundleName = "SystemAudioRecorder.kext";

bool isInstallAudioDeviceWithClassName(const QString &className);

/// The first device with input channels of that name; 0 if there is none, or if `name` is empty. It changes when the
/// sound server is started again.
DeviceID getInPutAudioDeviceIDForName(const QString &name);

/// The same among `devices`, without a question to the server.
DeviceID inputDeviceIDForName(const QList<SoundSource> &devices, const QString &name);

/// 0 if there is none.
DeviceID getDefaultInPutAudioDeviceID();

/// The default output, by the id of the input that hears it, so that it is never the id of another input. 0 if there
/// is none.
DeviceID getDefaultAudioID();

/// A device of that name is the default output.
bool isLaunchedRequiredAudioDevice(const QString &name);

/// The name of the monitor of the default output, which is what the device is to pass on. Null, and a line in the log,
/// if there is none.
QString getDefaultAuidoEnginePath();

/// Makes the source if it is missing, points it at the default output, and keeps it there from now on, through changes
/// of the default output and restarts of the sound server. 1 on success. On failure 0, but it is still seen to as soon
/// as there is a sound server.
int8_t launchAudioDeviceWithClassName(const QString &className);

/// stopAudioDeviceWithClassName() and launchAudioDeviceWithClassName() in one, without waiting for the server: the
/// source is seen to as soon as that answers.
void relaunchAudioDeviceWithClassName(const QString &className);

/// The source stands and passes on the output that is the default now.
bool isHadLaunchedAudioDeviceWithClassName(const QString &className);

/// Ends the care for the source; the source stays, and costs nothing while nobody records from it. 1 if the class is
/// the device's.
int8_t stopAudioDeviceWithClassName(const QString &className);

/// Makes the source, enters it into the user's configuration, and sets the marker. On failure all that is undone. Only
/// the device's driver name is known.
bool installAudioDevice(const QString &name);

/// Takes away what installAudioDevice() made. False if it is not installed or a file could not be removed. Only the
/// device's bundle name is known.
bool unInstallAudioDevice(const QString &name);

/// An output of that name exists. Both ask the same of the device of the first version.
bool isInstall1xAudioDevice(const QString &name);
bool isInstalledTessarineAudioDevice(const QString &name);

/// The driver of the first version stands at its place.
bool isExistTessarineAudioDevice();

/// The systems that installing once differed by, each as "this one or a newer one". Here it is the same everywhere, as
/// on the newest of them.
constexpr bool isOSOfLion() { return true; }
constexpr bool isMountainLion() { return true; }
constexpr bool isMavericksOS() { return true; }

/// Those of `array` in which `key` is found, letter case included. An empty key is found in none.
QStringList findDeviceByKeyInArray(const QString &key, const QStringList &array);
