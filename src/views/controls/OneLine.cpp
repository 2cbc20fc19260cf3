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

// Dots at the end of a line go by the direction of what they are drawn in, unless a mark behind them says otherwise.
QString elidedLine(const QString &text, const QFontMetrics &metrics, Qt::TextElideMode mode, int width) {
    constexpr QChar kRightToLeftMark(0x200f);
    QString shown = metrics.elidedText(text, mode, width);
    if (shown != text && text.isRightToLeft())
        shown += kRightToLeftMark;
    return shown;
}
