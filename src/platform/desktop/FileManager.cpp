#include "platform/desktop/FileManager.h"

#include "platform/run/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

void selectFileInFileManager(const QString &path) {
    const QFileInfo file(path);
    const QString folder = file.absolutePath();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openWithDesktop(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QString::fromLatin1(QUrl::fromLocalFile(file.absoluteFilePath()).toEncoded())} << QString();
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, folder] {
        answer->deleteLater();
        if (answer->isError())
            openWithDesktop(folder);
    });
}

void openWithDesktop(const QString &path) {
    const QUrl url = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    if (!QDesktopServices::openUrl(url) && !QProcess::startDetached("xdg-open", {QString::fromLatin1(url.toEncoded())}))
        logLine("nothing on this desktop opens " + path);
}
