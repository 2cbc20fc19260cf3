// The program's item in the desktop's tray, as a desktop shows and clicks it.
#include "features/LibrarySession.h"
#include "support/OtherProgram.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QRegularExpression>

namespace {

/// The desktop's side of a tray: items announce themselves to it.
class TrayHost : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER hasHost_)
    Q_PROPERTY(int ProtocolVersion MEMBER version_)
public:
    TrayHost() {
        EXPECT_TRUE(bus_.registerObject("/StatusNotifierWatcher", this,
                                        QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
        EXPECT_TRUE(bus_.registerService("org.kde.StatusNotifierWatcher"));
    }
    ~TrayHost() override { QDBusConnection::disconnectFromBus("tray"); }

    QString item;

public slots:
    void RegisterStatusNotifierItem(const QString &service) { item = service; }

private:
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("tray"));
    bool hasHost_ = true;
    int version_ = 0;
};

class Tray : public LibrarySession {
protected:
    QString ask(const QString &path, const QString &method, const QStringList &arguments) const {
        return QString::fromStdString(outputOf("gdbus", QStringList{"call", "--session", "--dest", host->item,
                                                                    "--object-path", path, "--method", method, "--"} +
                                                            arguments));
    }
    /// What stands in the menu that is opened now, "-" for what cannot be chosen.
    QStringList entries() {
        ask("/MenuBar", "com.canonical.dbusmenu.AboutToShow", {"0"});
        layout_ = ask("/MenuBar", "com.canonical.dbusmenu.GetLayout", {"0", "-1", "[]"});
        QStringList entries;
        static const QRegularExpression entry("<\\(\\d+, \\{([^}]*'label': <'([^']*)'>[^}]*)\\}");
        for (const QRegularExpressionMatch &match : entry.globalMatch(layout_))
            entries << (match.captured(1).contains("'enabled': <false>") ? "-" : "") + match.captured(2).remove('_');
        return entries;
    }
    bool shows(const QStringList &wanted) {
        return waitUntil([&] { return entries() == wanted; }); // while Qt changes the menu it answers nothing
    }
    void choose(const QString &label) {
        const QRegularExpression number("<\\((\\d+), \\{[^}]*'label': <'_?" + label + "'>");
        ASSERT_TRUE(waitUntil([&] { return entries().contains(label); }));
        ask("/MenuBar", "com.canonical.dbusmenu.Event", {number.match(layout_).captured(1), "clicked", "<0>", "0"});
    }

    std::optional<TrayHost> host;

private:
    QString layout_;
};

} // namespace

TEST_F(Tray, RecordsCutsAndQuitsFromTheMenu) {
    host.emplace();
    startProgram();
    ASSERT_TRUE(waitUntil([&] { return !host->item.isEmpty(); }));
    EXPECT_TRUE(shows({"-Play", "Start Recording", "-Cut to another recording", "Show", "Quit Tessarine Corvidia"}));
    choose("Start Recording");
    ASSERT_TRUE(program->hearsSound(2));
    playTone();
    EXPECT_TRUE(shows({"-Play", "Stop Recording", "Cut to another recording", "Show", "Quit Tessarine Corvidia"}));
    choose("Cut to another recording");
    playTone();
    choose("Stop Recording");
    EXPECT_TRUE(waitUntil([] { return titles() == "Anchor\nBell\nTrace\nTrack1\nTrack2"; })) << titles();
    choose("Quit Tessarine Corvidia");
    EXPECT_TRUE(program->endsWell());
}

#include "TrayTest.moc"
