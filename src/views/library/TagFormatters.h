// What may be typed or pasted into the fields of the tag editor.
//
// Threads: any.
#pragma once

#include <QString>

/// A part of a text; the cursor where its length is 0.
struct TextRange {
    qsizetype location = 0;
    qsizetype length = 0;
};

/// Takes texts as they are, up to a length counted in UTF-16 units.
class NSStringFormatter {
public:
    virtual ~NSStringFormatter() = default;

    qsizetype maximumLength() const { return maxLength; }
    void setMaximumLength(qsizetype maximumLength) { maxLength = maximumLength; }

    /// Whether the edit from `originalString`, in which `originalSelectedRange` was replaced, may stand. If not, it is
    /// refused, unless `partialString` is another one afterwards: that one then stands, and the cursor goes to
    /// `proposedSelectedRange`. An edit over the limit is refused with the cursor at the end of the former text;
    /// elsewhere the excess is cut out of what was inserted, and the tail stays whole.
    bool isPartialStringValid(QString &partialString, TextRange &proposedSelectedRange, const QString &originalString,
                              const TextRange &originalSelectedRange) const;

protected:
    virtual bool isValid([[maybe_unused]] const QString &string) const { return true; }

    qsizetype maxLength = 255;
};

/// Digits only.
class NumberFormatter final : public NSStringFormatter {
public:
    NumberFormatter() { maxLength = 4; }

protected:
    bool isValid(const QString &string) const override;
};
