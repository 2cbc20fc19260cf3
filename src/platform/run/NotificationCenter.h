// News between parts of the program that do not know each other.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QVariantMap>
#include <any>
#include <functional>

struct Notification {
    QString name;
    std::any object; ///< what the news is about; empty where there is nothing
    QVariantMap userInfo;
};

class NotificationCenter : public QObject {
    Q_OBJECT
public:
    static NotificationCenter &defaultCenter();

    /// Calls `observer` with every notification of `name`, as long as `owner` lives.
    void addObserver(QObject *owner, const QString &name, std::function<void(const Notification &)> observer);

    /// Tells all observers of `name`, in the order in which they came, before it returns.
    void postNotification(const QString &name, std::any object = {}, const QVariantMap &userInfo = {});

signals:
    void posted(const Notification &notification);
};
