// Texts as a search compares them: without regard to case and to diacritics.
//
// Every character is decomposed canonically, loses its non-spacing marks and is case-folded, in full: ß becomes ss, and
// so a ß contains ss. No language has a say: I and İ fold to i, and ı stays what it is. Only Korean syllables stay
// whole (and are made whole where they come in pieces), since there a piece is a letter and not a mark.
//
// The folded form is for searching and comparing, not for reading: its UTF-16 units as UTF-8 writes such numbers, a
// surrogate like any other unit. So half of a pair is found as it would be in the text itself, a find never begins
// inside a unit, and no byte is above 0xEF.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

using FoldedBuffer = QVarLengthArray<char, 512>;

/// Puts the folded form of `text` in place of what `folded` holds.
void foldInto(FoldedBuffer &folded, QStringView text);

QByteArray foldedText(QStringView text);

/// Whether `text` holds what `needle` is the folded form of. No text holds an empty one.
bool containsFolded(QStringView text, QByteArrayView needle);

/// `text` without the blanks of every width and the tabs around it; a newline stays.
QStringView withoutBlanks(QStringView text);
