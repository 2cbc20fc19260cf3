#include "support/MadeAudio.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

QString inHome(const QString &name) { return QDir::home().filePath(name); }

QString makeTone(const QString &name, const QString &arguments, double seconds) {
    return makeSound(
        name, QStringLiteral("sine=440:sample_rate=44100:duration=%1,aformat=channel_layouts=stereo").arg(seconds),
        arguments);
}

QString makeSound(const QString &name, const QString &source, const QString &arguments) {
    const QStringList command = QStringList{"-v", "error", "-y", "-f", "lavfi", "-i", source} +
                                arguments.split(' ', Qt::SkipEmptyParts) + QStringList{inHome(name)};
    EXPECT_EQ(QProcess::execute("ffmpeg", command), 0) << qPrintable(command.join(' '));
    return inHome(name);
}

std::string bytesOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

QString makeFile(const QString &name, const std::string &bytes) {
    QFile file(inHome(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes.data(), static_cast<qint64>(bytes.size()));
    return inHome(name);
}

bool ffprobeReads(const QString &path, const QString &title) {
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-show_format", path});
    return probe.waitForFinished() && probe.exitCode() == 0 && probe.readAllStandardError().isEmpty() &&
           (title.isNull() || probe.readAllStandardOutput().contains(("TAG:title=" + title + "\n").toUtf8()));
}

QStringList filesInHome() { return QDir(QDir::homePath()).entryList(QDir::Files | QDir::Hidden); }
