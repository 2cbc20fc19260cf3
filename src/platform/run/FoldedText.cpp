#include "platform/run/FoldedText.h"

#include <QStringList>
#include <array>
#include <cstring>
#include <mutex>

namespace {

// What a table says in place of a character. The last two are no characters; where a text holds them all the same they
// are worked out each time.
constexpr char16_t kSeveral = 0xD800; // and what follows: no character folds to half of a pair
constexpr char16_t kSeveralEnd = kSeveral + 256;
constexpr char16_t kDropped = 0xFFFE;
constexpr char16_t kWorkedOut = 0xFFFF;

constexpr char16_t kSyllables = 0xAC00;
constexpr int kSyllableCount = 11172;
constexpr char16_t kFirstLeads = 0x1100;
constexpr int kLeadCount = 19;
constexpr char16_t kVowels = 0x1161;
constexpr int kVowelCount = 21;
constexpr char16_t kTrailsBase = 0x11A7; // stands for no trailing consonant
constexpr int kTrailCount = 28;

bool isWithin(char16_t unit, char16_t first, int count) { return unit >= first && unit < first + count; }
bool isSyllable(char16_t unit) { return isWithin(unit, kSyllables, kSyllableCount); }
bool isPieceBehindLead(char16_t unit) {
    return isWithin(unit, kVowels, kVowelCount) || isWithin(unit, kTrailsBase + 1, kTrailCount - 1);
}

// The fold of one character, without the rule for Korean.
QString foldOf(char32_t character) {
    const QString decomposed = QString::fromUcs4(&character, 1).normalized(QString::NormalizationForm_D);
    QString letters;
    for (qsizetype i = 0; i < decomposed.size(); ++i) {
        const QChar unit = decomposed.at(i);
        const bool isPair = unit.isHighSurrogate() && i + 1 < decomposed.size();
        const char32_t letter = isPair ? QChar::surrogateToUcs4(unit, decomposed.at(i + 1)) : unit.unicode();
        if (QChar::category(letter) != QChar::Mark_NonSpacing)
            letters += decomposed.mid(i, isPair ? 2 : 1);
        i += isPair;
    }
    // Qt folds one letter to one; those that become several do so in capitals, too.
    const QString folded = letters.toCaseFolded();
    const QString capitals = folded.toUpper();
    return capitals.size() > folded.size() ? capitals.toCaseFolded() : folded;
}

// The folds of 256 characters, made when the first of them is met.
class Page {
public:
    static Page &of(char16_t unit) {
        static std::array<Page, 256> pages;
        Page &page = pages[unit >> 8];
        std::call_once(page.isMade_, [&page, unit] {
            for (int i = 0; i < 256; ++i)
                page.entries_[static_cast<size_t>(i)] = page.entryFor(static_cast<char16_t>((unit & 0xFF00) | i));
        });
        return page;
    }

    char16_t entry(char16_t unit) const { return entries_[unit & 0xFF]; }
    const QString &several(char16_t entry) const { return several_.at(entry - kSeveral); }

private:
    char16_t entryFor(char16_t unit) {
        if (QChar::isSurrogate(unit) || unit >= kDropped || isPieceBehindLead(unit))
            return kWorkedOut;
        if (isSyllable(unit))
            return unit;
        const QString fold = foldOf(unit);
        if (fold.isEmpty())
            return kDropped;
        if (fold.size() == 1)
            return fold.at(0).unicode();
        several_ << fold;
        return static_cast<char16_t>(kSeveral + several_.size() - 1);
    }

    std::once_flag isMade_;
    std::array<char16_t, 256> entries_;
    QStringList several_;
};

void append(FoldedBuffer &folded, char16_t unit) {
    if (unit < 0x80) {
        folded.append(static_cast<char>(unit));
    } else if (unit < 0x800) {
        folded.append(static_cast<char>(0xC0 | unit >> 6));
        folded.append(static_cast<char>(0x80 | (unit & 0x3F)));
    } else {
        folded.append(static_cast<char>(0xE0 | unit >> 12));
        folded.append(static_cast<char>(0x80 | (unit >> 6 & 0x3F)));
        folded.append(static_cast<char>(0x80 | (unit & 0x3F)));
    }
}

// The last unit of `folded` if it took three bytes, as those of Korean do; 0 otherwise.
char16_t lastLongUnit(const FoldedBuffer &folded) {
    const qsizetype size = folded.size();
    if (size < 3 || (folded[size - 3] & 0xF0) != 0xE0)
        return 0;
    return static_cast<char16_t>((folded[size - 3] & 0x0F) << 12 | (folded[size - 2] & 0x3F) << 6 |
                                 (folded[size - 1] & 0x3F));
}

void append(FoldedBuffer &folded, const QString &letters) {
    for (const QChar letter : letters)
        append(folded, letter.unicode());
}

// Joins a vowel or a trailing consonant with what stands before it; anything else stays by itself.
void appendPiece(FoldedBuffer &folded, char16_t piece) {
    const char16_t last = lastLongUnit(folded);
    int syllable = 0;
    if (isWithin(piece, kVowels, kVowelCount) && isWithin(last, kFirstLeads, kLeadCount))
        syllable = kSyllables + ((last - kFirstLeads) * kVowelCount + piece - kVowels) * kTrailCount;
    else if (isWithin(piece, kTrailsBase + 1, kTrailCount - 1) && isSyllable(last) &&
             (last - kSyllables) % kTrailCount == 0)
        syllable = last + piece - kTrailsBase;
    if (syllable)
        folded.resize(folded.size() - 3);
    append(folded, syllable ? static_cast<char16_t>(syllable) : piece);
}

} // namespace

void foldInto(FoldedBuffer &folded, QStringView text) {
    folded.clear();
    if (text.isEmpty())
        return;
    const Page *page = &Page::of(text.front().unicode());
    int pageNumber = text.front().unicode() >> 8;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >> 8 != pageNumber) {
            page = &Page::of(unit);
            pageNumber = unit >> 8;
        }
        const char16_t entry = page->entry(unit);
        if (entry >= kSeveral && entry < kSeveralEnd) {
            append(folded, page->several(entry));
        } else if (entry < kDropped) {
            append(folded, entry);
        } else if (entry == kWorkedOut && QChar::isHighSurrogate(unit) && i + 1 < text.size() &&
                   text[i + 1].isLowSurrogate()) {
            append(folded, foldOf(QChar::surrogateToUcs4(unit, text[++i].unicode())));
        } else if (entry == kWorkedOut) {
            appendPiece(folded, unit);
        }
    }
}

QByteArray foldedText(QStringView text) {
    FoldedBuffer folded;
    foldInto(folded, text);
    return {folded.constData(), folded.size()};
}

bool containsFolded(QStringView text, QByteArrayView needle) {
    if (needle.isEmpty())
        return false;
    FoldedBuffer folded;
    foldInto(folded, text);
    return memmem(folded.constData(), static_cast<size_t>(folded.size()), needle.data(),
                  static_cast<size_t>(needle.size())) != nullptr;
}

QStringView withoutBlanks(QStringView text) {
    const auto isBlank = [](QChar character) {
        return character == '\t' || character.category() == QChar::Separator_Space;
    };
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}
