#include "views/controls/OneLine.h"

namespace {

constexpr qsizetype kMostCharacters = 400; // more than any line has room for, and quick to lay out

bool turnsDirection(char16_t unit) { return (unit >= 0x202a && unit <= 0x202e) || (unit >= 0x2066 && unit <= 0x2069); }

} // namespace

QString oneLine(const QString &text) {
    QString line = text.left(kMostCharacters);
    if (!line.isEmpty() && line.back().isHighSurrogate())
        line.chop(1);
    for (QChar &character : line)
        if (character.category() == QChar::Other_Control || turnsDirection(character.unicode()))
            character = QLatin1Char(' ');
    return line.simplified();
}
