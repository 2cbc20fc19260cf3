// Audio files that a test makes for itself, in its home folder.
#pragma once

#include <QString>
#include <string>

/// A name within the home folder; a whole path stays as it is.
QString inHome(const QString &name);
/// A stereo tone of `seconds`, encoded by the ffmpeg command as the name's ending and `arguments` say; its path.
QString makeTone(const QString &name, const QString &arguments = {}, double seconds = 1);
/// The same of `source`, as ffmpeg's filters describe one.
QString makeSound(const QString &name, const QString &source, const QString &arguments = {});
std::string bytesOf(const QString &path);
QString makeFile(const QString &name, const std::string &bytes);
/// Whether ffprobe reads the file without a complaint, and `title`, if any, as its title.
bool ffprobeReads(const QString &path, const QString &title = {});
/// Names in the folder of the home that holds the test's files, hidden ones too.
QStringList filesInHome();
