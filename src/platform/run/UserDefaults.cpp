#include "platform/run/UserDefaults.h"

UserDefaults &UserDefaults::standardUserDefaults() {
    static UserDefaults defaults;
    return defaults;
}

UserDefaults::UserDefaults() : stored_(QSettings::IniFormat, QSettings::UserScope, "Tessarine", "Corvidia") {}

void UserDefaults::registerDefaults(const QVariantMap &defaults) { registered_.insert(defaults); }

QVariant UserDefaults::objectForKey(const QString &key) const {
    const QVariant value = stored_.value(key);
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

void UserDefaults::setObject(const QVariant &value, const QString &forKey) { stored_.setValue(forKey, value); }

void UserDefaults::removeObjectForKey(const QString &key) { stored_.remove(key); }

void UserDefaults::synchronize() { stored_.sync(); }
