// What the user chose for the whole desktop: dark or light, motion or none. Asked of the desktop portal.
//
// Threads: main. The session bus is connected to on a worker, and asked without waiting.
#pragma once

#include <QObject>
#include <QVariant>
#include <optional>

class QDBusMessage;

class DesktopSettings : public QObject {
    Q_OBJECT
public:
    /// Asks at once; the answers come with changed(). Without a session bus or a portal none ever comes.
    explicit DesktopSettings(QObject *parent);

    /// Absent while the desktop has stated no preference.
    std::optional<bool> isDark() const { return isDark_; }
    bool isMotionReduced() const { return isMotionReduced_; }

signals:
    void changed();

private slots:
    void settingChanged(const QDBusMessage &signal);

private:
    void ask();
    void read(const QString &group, const QString &key);
    void take(const QString &group, const QString &key, QVariant value);

    std::optional<bool> isDark_;
    bool isMotionReduced_ = false;
};
