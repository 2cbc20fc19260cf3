// Texts of durations, sizes and four-character codes.
//
// Threads: any; nothing here keeps state.
#pragma once

#include <QByteArray>
#include <QString>
#include <bit>
#include <cstdint>

/// Long text for status lines, localised: "1.5 hours", "60.0 minutes", "2 seconds", "1 second".
/// 0 or less gives "". Each unit begins strictly above one, so exactly one hour is "60.0 minutes".
QString ConvertTimeToString(qint64 milliseconds);

/// Clock text: "m:ss  ", from one hour on "h:mm:ss  ", rounded half up to whole seconds.
/// The two trailing blanks space the table's columns. Less than no time gives "".
QString ConvertTimeToHMS(qint64 milliseconds);

/// As ConvertTimeToHMS(), with two digits for the minutes: "mm:ss  ".
QString ConvertTimeToHMSPro(qint64 milliseconds);

/// Size in decimal units, localised: "1.5 GB", "1.0 MB", "1000.0 KB". 0 or less gives "".
QString ConvertSizeToString(qint64 bytes);

/// The size itself, with `unitText` giving the text of "GB", "MB" or "KB".
QString sizeText(qint64 bytes, QString (*unitText)(const char *unit));

/// `number` as "%.*f" prints it, with a point in every locale.
QString fixedText(double number, int decimals);

/// The code's bytes in memory order as text, which a zero byte ends: on little-endian machines the reverse of the
/// usual reading.
QString FourCCToString(uint32_t code);

/// The first four UTF-8 bytes of `string`, padded with blanks, read as a number in memory order. 0 for a null string.
uint32_t StringToFourCC(const QString &string);

/// A new path for a temporary JPEG in this process's own temporary folder, which is made if it is missing.
/// Null if it can't be made. Nobody removes the folder here.
QString getTempImagePath();

/// The UTF-8 bytes of `string`; a null string is treated as "".
QByteArray covertStringTochar(const QString &string);

/// Whether this machine's byte order is big-endian.
constexpr bool IsPPC() { return std::endian::native == std::endian::big; }
