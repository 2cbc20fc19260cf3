// A display and a session bus of one's own, which never meet the user's.
//
// Threads: one, which must live as long as the desktop: its processes end with the thread that started them.
#pragma once

#include <QProcess>
#include <QSize>
#include <QString>
#include <memory>
#include <vector>

class PrivateDesktop {
public:
    static constexpr QSize kSize{1000, 720};

    /// `folder` takes the bus's socket; its path must be short, as a socket's has to be.
    explicit PrivateDesktop(const QString &folder, const QSize &size = kSize);
    ~PrivateDesktop();

    /// Starts both and sets DISPLAY, QT_QPA_PLATFORM and DBUS_SESSION_BUS_ADDRESS for this process and its children.
    /// False when one of them did not come up within ten seconds: see errorText().
    [[nodiscard]] bool start();

    /// A picture of the whole display.
    [[nodiscard]] bool screenshot(const QString &pngPath);

    const QString &errorText() const { return errorText_; }

private:
    bool launch(const QString &program, const QStringList &arguments, const char *variable, const QByteArray &before);

    QString folder_;
    QSize size_; // of the display
    QString errorText_;
    std::vector<std::unique_ptr<QProcess>> processes_;
};

/// Ends `process` when the thread that starts it ends, however that happens.
void endWithParent(QProcess &process);
