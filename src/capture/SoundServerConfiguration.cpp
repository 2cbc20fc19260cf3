#include "capture/SoundServerConfiguration.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <optional>

namespace {

// The block owns the newline before it, so that a script without one at its end gets back to what it was.
constexpr const char *kBlockBegin = "\n# Corvidia: begin of the System Audio Recorder\n";
constexpr const char *kBlockEnd = "# Corvidia: end of the System Audio Recorder\n";

QString configurationFolder() { return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation); }

QString dropInPath() { return configurationFolder() + "/pipewire/pipewire-pulse.conf.d/90-corvidia.conf"; }

QString scriptPath() { return configurationFolder() + "/pulse/default.pa"; }

bool write(const QString &path, const QByteArray &content) {
    QSaveFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size() && file.commit();
}

/// Removes `path`, and the folders above it, below the configuration's, that are empty then.
bool removeWithEmptyFolders(const QString &path) {
    if (!QFile::remove(path))
        return false;
    for (QString folder = QFileInfo(path).path(); folder != configurationFolder(); folder = QFileInfo(folder).path())
        if (!QDir().rmdir(folder))
            break;
    return true;
}

/// Empty when there is no file; nothing when there is one that can't be read.
std::optional<QByteArray> readScript() {
    QFile file(scriptPath());
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool removeBlock() {
    const auto script = readScript();
    if (!script)
        return false;
    const auto begin = script->indexOf(kBlockBegin);
    const auto end = begin < 0 ? -1 : script->indexOf(kBlockEnd, begin);
    if (end < 0)
        return true;
    const QByteArray rest = script->left(begin) + script->mid(end + qstrlen(kBlockEnd));
    // Nothing but our block means that there was no script before.
    return rest.isEmpty() ? removeWithEmptyFolders(scriptPath()) : write(scriptPath(), rest);
}

bool addBlock(const QString &module, const QString &argument) {
    if (!removeBlock())
        return false;
    const auto script = readScript();
    if (!script)
        return false;
    // An output that is not there at the start must not keep the server from starting; the program mends it.
    const QString line = QString(".nofail\nload-module %1 %2\n").arg(module, argument);
    const QByteArray inclusion = script->isEmpty() ? ".include /etc/pulse/default.pa\n" : "";
    return write(scriptPath(), *script + kBlockBegin + inclusion + line.toUtf8() + kBlockEnd);
}

bool addDropIn(const QString &module, const QString &argument) {
    QString quoted = argument;
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    const QString content = QString("# Corvidia: the System Audio Recorder\n"
                                    "pulse.cmd = [\n"
                                    "    { cmd = \"load-module\" args = \"%1 %2\" flags = [ nofail ] }\n"
                                    "]\n");
    return write(dropInPath(), content.arg(module, quoted).toUtf8());
}

} // namespace

bool addToSoundServerConfiguration(bool isPipeWire, const QString &module, const QString &argument) {
    return isPipeWire ? addDropIn(module, argument) : addBlock(module, argument);
}

bool removeFromSoundServerConfiguration() {
    const bool isDropInGone = !QFile::exists(dropInPath()) || removeWithEmptyFolders(dropInPath());
    return removeBlock() && isDropInGone;
}
