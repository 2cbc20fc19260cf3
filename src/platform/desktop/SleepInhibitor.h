// Keeps the computer from going to sleep by itself.
//
// Threads: main. Nothing here waits for an answer of the bus.
#pragma once

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>
#include <optional>

/// Asks logind on the system bus, and where there is none, the desktop portal on the session bus. Where neither is to
/// be had nothing happens: the computer sleeps when it likes.
class SleepInhibitor : public QObject {
    Q_OBJECT
public:
    /// The buses are those of the system and the session; a test brings its own.
    explicit SleepInhibitor(QString reason, const QDBusConnection &systemBus = QDBusConnection::systemBus(),
                            const QDBusConnection &sessionBus = QDBusConnection::sessionBus());
    ~SleepInhibitor() override;

    /// Sleep stays inhibited until setActive(false) or the end of this object or of the process.
    void setActive(bool active);
    /// True once somebody has granted it.
    bool isGranted() const;

private:
    void askLogind();
    void askPortal();
    void release();

    QString reason_;
    QDBusConnection systemBus_;
    QDBusConnection sessionBus_;
    bool isActive_ = false;
    std::optional<QDBusUnixFileDescriptor> logindLock_; // sleep is free again when this is closed
    QString portalRequest_;                             // object path of the portal's request
};
