// The program's item in the desktop's tray.
//
// Threads: main.
#pragma once

#include <QIcon>
#include <QObject>

class QMenu;
class QSystemTrayIcon;

/// A tray that comes later than the program gets the item when it comes.
class TrayItem : public QObject {
    Q_OBJECT
public:
    /// `menu` outlives the item.
    TrayItem(QMenu &menu, const QString &toolTip, QObject *parent);

    void setIcon(const QIcon &icon);
    /// Whether there is a tray that shows the item now.
    bool isAvailable() const;

signals:
    /// The item was clicked, and wants the window.
    void raiseWanted();
    /// isAvailable() may answer otherwise now.
    void availabilityChanged();

private:
    void lookForHost();
    void setHasHost(bool hasHost);
    void makeItem();

    QMenu &menu_;
    QString toolTip_;
    QIcon icon_;
    QSystemTrayIcon *item_ = nullptr;
    bool hasHost_ = false; // on the session bus
};
