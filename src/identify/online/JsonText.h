// What stands in a service's answer, whoever wrote it there: null for a text, text for a number.
//
// Threads: any.
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <optional>

/// Nothing for what is no JSON object or is nested too deep.
inline std::optional<QJsonObject> jsonObject(const QByteArray &body) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

/// A text without the control characters in it, or a number as text; else null, as for what is longer than any name.
QString textOf(const QJsonValue &value);

/// A number, or a text that is one; else absent.
std::optional<double> numberOf(const QJsonValue &value);

/// A text that is the number of something in the service's database, in small letters; else null.
QString identifierOf(const QJsonValue &value);
