#include "identify/online/OnlineTexts.h"

#include "identify/online/JsonText.h"
#include "platform/run/FoldedText.h"

#include <QJsonObject>

namespace {

QString letters(const QString &text) {
    QString kept;
    for (const QChar character : text)
        if (character.isLetterOrNumber() || character.isMark() || character.isSurrogate())
            kept += character;
    return kept;
}

} // namespace

QString creditedArtists(const QJsonArray &credits) {
    QString names;
    for (const auto &value : credits) {
        const QJsonObject credit = value.toObject();
        QString name = textOf(credit["name"]);
        if (name.isNull())
            name = textOf(credit["artist"].toObject()["name"]);
        names += name + credit["joinphrase"].toString();
    }
    return textOf(names);
}

bool isSameText(const QString &one, const QString &other) {
    const QString first = letters(one);
    const QString second = letters(other);
    if (first.isEmpty() || second.isEmpty())
        return one == other;
    return foldedText(first) == foldedText(second);
}
