// The program as a screen reader meets it: objects with roles, names and actions, on the accessibility bus (AT-SPI).
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

class ScreenReader {
public:
    /// An object of the program's; empty for none.
    struct Object {
        QString service;
        QString path;
    };

    /// Turns accessibility on for the session bus of the environment; programs started before may not notice.
    ScreenReader();
    ~ScreenReader();

    /// Waits for the first object with this role and name, the words as the bus has them.
    Object find(const QString &role, const QString &name);
    /// Finds the object and does its action of this name. What it leads to is not waited for: it may be a question.
    /// False when there is no such object, or action.
    bool act(const QString &role, const QString &name, const QString &action);
    /// Replaces the text of a field.
    bool write(const QString &field, const QString &text);

    int countOfRows(const Object &table);
    Object cell(const Object &table, int row, int column);
    QString nameOf(const Object &object);
    QString roleOf(const Object &object);
    bool isSelected(const Object &object);

private:
    QVariant call(const Object &object, const QString &member, const QVariantList &arguments = {});
    QVariant property(const Object &object, const QString &interface, const QString &name);
    QList<Object> childrenOf(const Object &object);
    Object search(const Object &parent, const QString &role, const QString &name);

    QDBusConnection bus_;
};
