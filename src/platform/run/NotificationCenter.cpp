#include "platform/run/NotificationCenter.h"

NotificationCenter &NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(QObject *owner, const QString &name,
                                     std::function<void(const Notification &)> observer) {
    connect(this, &NotificationCenter::posted, owner, [name, observer = std::move(observer)](const Notification &news) {
        if (news.name == name)
            observer(news);
    });
}

void NotificationCenter::postNotification(const QString &name, std::any object, const QVariantMap &userInfo) {
    emit posted({name, std::move(object), userInfo});
}
