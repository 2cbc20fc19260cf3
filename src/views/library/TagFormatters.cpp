#include "views/library/TagFormatters.h"

#include <algorithm>

bool NSStringFormatter::isPartialStringValid(QString &partialString, TextRange &proposedSelectedRange,
                                             const QString &originalString,
                                             const TextRange &originalSelectedRange) const {
    if (partialString.size() <= maxLength)
        return isValid(partialString);
    if (originalSelectedRange.location == originalString.size()) {
        partialString = originalString;
        return false;
    }
    const qsizetype tailStart = originalSelectedRange.location + originalSelectedRange.length;
    const qsizetype kept = std::max<qsizetype>(0, maxLength - originalString.size() + tailStart);
    QString head = partialString.left(kept);
    if (!head.isEmpty() && head.back().isHighSurrogate())
        head.chop(1); // half a character is none
    const QString cut = head + originalString.mid(tailStart);
    partialString = isValid(cut) ? cut : originalString;
    proposedSelectedRange = {head.size(), 0};
    return false;
}

bool NumberFormatter::isValid(const QString &string) const {
    return std::ranges::all_of(string, [](QChar unit) { return unit >= QLatin1Char('0') && unit <= QLatin1Char('9'); });
}
