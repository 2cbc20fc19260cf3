// The persistent settings: what the user has set lies over what the program registers at its start.
//
// Threads: main.
#pragma once

#include <QSettings>
#include <QString>
#include <QVariantMap>

class UserDefaults {
public:
    /// The program's own domain, an INI file below the home's ".config".
    static UserDefaults &standardUserDefaults();

    /// Adds `defaults` to the layer that answers for keys without a stored value. It is not stored.
    void registerDefaults(const QVariantMap &defaults);

    /// The stored value, else the registered one, else an invalid QVariant: absent.
    QVariant objectForKey(const QString &key) const;
    bool contains(const QString &key) const { return objectForKey(key).isValid(); }

    /// False when absent. Numbers are true unless 0; texts when they begin with Y, y, T, t or a digit other than 0.
    bool boolForKey(const QString &key) const;
    /// 0 when absent; of a text its leading number.
    qint64 integerForKey(const QString &key) const;
    /// Null when absent.
    QString stringForKey(const QString &key) const;

    void setObject(const QVariant &value, const QString &forKey);
    void setInteger(qint64 value, const QString &forKey) { setObject(value, forKey); }
    void setBool(bool value, const QString &forKey) { setObject(value, forKey); }
    void removeObjectForKey(const QString &key);

    /// Writes what was set to the disk. Happens by itself as well, at the latest at the end of the program.
    void synchronize();

private:
    UserDefaults();

    QSettings stored_;
    QVariantMap registered_;
};
