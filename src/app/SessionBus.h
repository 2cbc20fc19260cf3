// The program on the session bus: com.tessarine.Corvidia with the interface org.freedesktop.Application, so that
// desktop files, timers and scripts can record.
//
// Threads: main.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

/// Does what the bus asks for.
class SessionBusDelegate {
public:
    virtual void activate() = 0;
    /// One of "record", "stop", "cut", "quit"; anything else is ignored.
    virtual void activateAction(const QString &name) = 0;

protected:
    ~SessionBusDelegate() = default;
};

class SessionBus final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    /// `exported` is what stands at the object path; it owns this adaptor.
    SessionBus(QObject *exported, SessionBusDelegate &delegate);

    /// Takes the name. False without a session bus, or when another copy has the name; all else works as before.
    bool connectToBus();

    /// Asks the copy that has the name to show itself.
    static void activateOtherCopy();

public slots:
    void Activate(const QVariantMap &platform_data);
    void Open(const QStringList &uris, const QVariantMap &platform_data);
    void ActivateAction(const QString &action_name, const QVariantList &parameter, const QVariantMap &platform_data);

private:
    SessionBusDelegate &delegate_;
};
