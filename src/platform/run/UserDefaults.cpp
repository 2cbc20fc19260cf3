#include "platform/run/UserDefaults.h"

#include "platform/run/Log.h"
#include "platform/run/MainThread.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <unistd.h>
#include <utility>

UserDefaults &UserDefaults::standardUserDefaults() {
    static UserDefaults defaults;
    return defaults;
}

UserDefaults::UserDefaults() : stored_(QSettings::IniFormat, QSettings::UserScope, "Tessarine", "Corvidia") {}

void UserDefaults::registerDefaults(const QVariantMap &defaults) { registered_.insert(defaults); }

QVariant UserDefaults::objectForKey(const QString &key) const {
    const auto unsaved = unsaved_.constFind(key);
    const QVariant value = unsaved != unsaved_.constEnd() ? *unsaved : stored_.value(key);
    return value.isValid() ? value : registered_.value(key);
}

bool UserDefaults::boolForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    if (value.userType() != QMetaType::QString)
        return value.toDouble() != 0;
    const QString text = value.toString().trimmed();
    return !text.isEmpty() && QStringLiteral("YyTt123456789").contains(text.front());
}

qint64 UserDefaults::integerForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    if (value.userType() != QMetaType::QString)
        return static_cast<qint64>(value.toDouble());
    const QString text = value.toString().trimmed();
    if (text == QLatin1String("true"))
        return 1; // how a stored boolean comes back from the file
    qsizetype length = text.startsWith('-') || text.startsWith('+') ? 1 : 0;
    while (length < text.size() && text[length].isDigit())
        ++length;
    return text.left(length).toLongLong();
}

QString UserDefaults::stringForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    return value.isValid() ? value.toString() : QString();
}

void UserDefaults::setObject(const QVariant &value, const QString &forKey) {
    unsaved_[forKey] = value;
    if (!std::exchange(isWritePlanned_, true))
        performOnMainThread([this] { synchronize(); });
}

void UserDefaults::removeObjectForKey(const QString &key) { setObject({}, key); }

bool UserDefaults::synchronize() {
    isWritePlanned_ = false;
    stored_.sync();
    if (unsaved_.isEmpty())
        return true;
    QVariantMap values;
    const QSettings own(stored_.fileName(), QSettings::IniFormat); // without what the system's files say
    for (const QString &key : own.allKeys())
        values[key] = own.value(key);
    for (auto value = unsaved_.cbegin(); value != unsaved_.cend(); ++value)
        if (value->isValid())
            values[value.key()] = *value;
        else
            values.remove(value.key());
    // A file that can't be read, now or earlier, counts as empty here, and stays as it is.
    if (stored_.status() == QSettings::AccessError || !write(values)) {
        logLine(stored_.fileName() + " could not be written; the settings of this run count until its end");
        if (const auto writeFailed = std::exchange(writeFailed_, nullptr))
            writeFailed(stored_.fileName());
        return false;
    }
    unsaved_.clear();
    stored_.sync();
    return true;
}

// QSettings puts its new file in the old one's place even when there was no room to write it. So it writes to a name of
// its own, and only what can be read back from the disk replaces the old file.
bool UserDefaults::write(const QVariantMap &values) const {
    const QFileInfo old(stored_.fileName());
    const QString target = !old.isSymLink() ? old.filePath()
                           : old.exists()   ? old.canonicalFilePath() // also behind a link to a link
                                            : old.symLinkTarget();
    const QString written = target + ".new";
    const QString readBack = target + ".read"; // QSettings remembers what it wrote under a name
    const auto discard = [&] {
        QFile::remove(written);
        QFile::remove(readBack);
        return false;
    };
    discard();
    QDir().mkpath(QFileInfo(target).path()); // a failure shows in the next step
    {
        QSettings file(written, QSettings::IniFormat);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            file.setValue(value.key(), *value);
    }
    QFile copy(readBack);
    if (!QFile::rename(written, readBack) || !copy.open(QIODevice::ReadWrite) || fsync(copy.handle()) != 0)
        return discard();
    const QSettings onDisk(readBack, QSettings::IniFormat);
    if (onDisk.allKeys().size() != values.size())
        return discard();
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        if (onDisk.value(value.key()).toString() != value->toString())
            return discard();
    if (old.exists())
        copy.setPermissions(old.permissions());
    if (std::rename(QFile::encodeName(readBack).constData(), QFile::encodeName(target).constData()) != 0)
        return discard();
    return true;
}
