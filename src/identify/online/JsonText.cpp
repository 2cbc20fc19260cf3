#include "identify/online/JsonText.h"

#include "platform/run/InvisibleOrder.h"

#include <QUuid>
#include <cmath>

namespace {
constexpr qsizetype kLongestText = 5000; // characters; a name of megabytes would hold up whoever shows or writes it
}

QString textOf(const QJsonValue &value) {
    if (value.isDouble())
        return QString::number(value.toDouble(), 'g', 15);
    QString text = value.toString();
    text.removeIf(
        [](QChar character) { return character.category() == QChar::Other_Control || isInvisibleOrder(character); });
    text = text.trimmed();
    return text.isEmpty() || text.size() > kLongestText ? QString() : text;
}

std::optional<double> numberOf(const QJsonValue &value) {
    bool isNumber = value.isDouble();
    const double number = isNumber ? value.toDouble() : value.toString().toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

QString identifierOf(const QJsonValue &value) {
    const QUuid identifier(value.toString());
    return identifier.isNull() ? QString() : identifier.toString(QUuid::WithoutBraces);
}
