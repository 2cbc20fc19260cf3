// The persistent settings: what the user has set lies over what the program registers at its start.
//
// Threads: main.
#pragma once

#include <QSettings>
#include <QString>
#include <QVariantMap>
#include <functional>

class UserDefaults {
public:
    /// The program's own domain, an INI file below the home's ".config".
    static UserDefaults &standardUserDefaults();

    /// Adds `defaults` to the layer that answers for keys without a stored value. It is not stored.
    void registerDefaults(const QVariantMap &defaults);

    /// The value set, else the stored one, else the registered one, else an invalid QVariant: absent.
    QVariant objectForKey(const QString &key) const;
    bool contains(const QString &key) const { return objectForKey(key).isValid(); }

    /// False when absent. Numbers are true unless 0; texts when they begin with Y, y, T, t or a digit other than 0.
    bool boolForKey(const QString &key) const;
    /// 0 when absent; of a text its leading number.
    qint64 integerForKey(const QString &key) const;
    /// Null when absent.
    QString stringForKey(const QString &key) const;

    /// Counts at once; goes to the disk in the event loop's next turn, or with synchronize().
    void setObject(const QVariant &value, const QString &forKey);
    void setInteger(qint64 value, const QString &forKey) { setObject(value, forKey); }
    void setBool(bool value, const QString &forKey) { setObject(value, forKey); }
    void removeObjectForKey(const QString &key);

    /// Writes what was set to the disk, and takes in what others have written there. A write that fails, a full disk
    /// for one, leaves the old file whole; what was set goes on to count and is tried again with the next write. False
    /// then.
    bool synchronize();

    /// Hears, once a run, that the settings in `file` could not be written.
    void setWriteFailed(std::function<void(const QString &file)> writeFailed) { writeFailed_ = std::move(writeFailed); }

private:
    UserDefaults();

    bool write(const QVariantMap &values) const;

    QSettings stored_;    // read only
    QVariantMap unsaved_; // set, and not yet on the disk; an invalid value stands for a key that was removed
    QVariantMap registered_;
    bool isWritePlanned_ = false;
    std::function<void(const QString &file)> writeFailed_;
};
