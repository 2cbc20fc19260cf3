#include "support/ScreenReader.h"

#include "demo/RunningProgram.h"

#include <QDBusArgument>
#include <QDBusVariant>

namespace {

constexpr const char *kConnection = "screen-reader";
constexpr uint kSelectedState = 23; // its bit among the states

QVariant ask(const QDBusConnection &bus, const ScreenReader::Object &object, const QString &interface,
             const QString &member, const QVariantList &arguments) {
    QDBusMessage question = QDBusMessage::createMethodCall(object.service, object.path, interface, member);
    question.setArguments(arguments);
    return bus.call(question).arguments().value(0);
}

ScreenReader::Object objectIn(const QDBusArgument &argument) {
    ScreenReader::Object object;
    QDBusObjectPath path;
    argument.beginStructure();
    argument >> object.service >> path;
    argument.endStructure();
    object.path = path.path();
    return object;
}

QDBusConnection accessibilityBus() {
    const QDBusConnection session =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "for-screen-reader");
    const ScreenReader::Object launcher{"org.a11y.Bus", "/org/a11y/bus"};
    ask(session, launcher, "org.freedesktop.DBus.Properties", "Set",
        {"org.a11y.Status", "IsEnabled", QVariant::fromValue(QDBusVariant(true))});
    const QString address = ask(session, launcher, "org.a11y.Bus", "GetAddress", {}).toString();
    QDBusConnection::disconnectFromBus("for-screen-reader");
    return QDBusConnection::connectToBus(address, kConnection);
}

} // namespace

ScreenReader::ScreenReader() : bus_(accessibilityBus()) {}

ScreenReader::~ScreenReader() { QDBusConnection::disconnectFromBus(kConnection); }

ScreenReader::Object ScreenReader::find(const QString &role, const QString &name) {
    const Object desktop{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};
    Object found;
    waitUntil([&] {
        found = search(desktop, role, name);
        return !found.path.isEmpty();
    });
    return found;
}

bool ScreenReader::act(const QString &role, const QString &name, const QString &action) {
    const Object object = find(role, name);
    const int count = property(object, "Action", "NActions").toInt();
    for (int i = 0; i < count; ++i)
        if (call(object, "Action.GetName", {i}).toString() == action) {
            QDBusMessage wish =
                QDBusMessage::createMethodCall(object.service, object.path, "org.a11y.atspi.Action", "DoAction");
            wish << i;
            return bus_.send(wish);
        }
    return false;
}

bool ScreenReader::write(const QString &field, const QString &text) {
    return call(find("text", field), "EditableText.SetTextContents", {text}).toBool();
}

int ScreenReader::countOfRows(const Object &table) { return property(table, "Table", "NRows").toInt(); }

ScreenReader::Object ScreenReader::cell(const Object &table, int row, int column) {
    return objectIn(call(table, "Table.GetAccessibleAt", {row, column}).value<QDBusArgument>());
}

QString ScreenReader::nameOf(const Object &object) { return property(object, "Accessible", "Name").toString(); }

QString ScreenReader::roleOf(const Object &object) { return call(object, "Accessible.GetRoleName").toString(); }

bool ScreenReader::isSelected(const Object &object) {
    QList<uint> states;
    call(object, "Accessible.GetState").value<QDBusArgument>() >> states;
    return states.value(0) >> kSelectedState & 1;
}

QVariant ScreenReader::call(const Object &object, const QString &member, const QVariantList &arguments) {
    return ask(bus_, object, "org.a11y.atspi." + member.section('.', 0, 0), member.section('.', 1), arguments);
}

QVariant ScreenReader::property(const Object &object, const QString &interface, const QString &name) {
    return ask(bus_, object, "org.freedesktop.DBus.Properties", "Get", {"org.a11y.atspi." + interface, name})
        .value<QDBusVariant>()
        .variant();
}

QList<ScreenReader::Object> ScreenReader::childrenOf(const Object &object) {
    QList<Object> children;
    const QVariant answer = call(object, "Accessible.GetChildren");
    if (!answer.canConvert<QDBusArgument>())
        return children;
    const auto argument = answer.value<QDBusArgument>();
    for (argument.beginArray(); !argument.atEnd();)
        children.append(objectIn(argument));
    argument.endArray();
    return children;
}

ScreenReader::Object ScreenReader::search(const Object &parent, const QString &role, const QString &name) {
    for (const Object &child : childrenOf(parent)) {
        if (nameOf(child) == name && roleOf(child) == role)
            return child;
        if (Object found = search(child, role, name); !found.path.isEmpty())
            return found;
    }
    return {};
}
