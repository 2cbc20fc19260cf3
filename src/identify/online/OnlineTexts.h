// Texts of the services, put together and compared.
//
// Threads: any.
#pragma once

#include <QJsonArray>
#include <QString>

/// Seconds by which two lengths of the same recording may differ: what is put on a disc again gets other gaps.
inline constexpr double kLengthTolerance = 7;

/// The names of the artists with what joins them; null where there are none.
QString creditedArtists(const QJsonArray &credits);

/// Whether both are the same but for case, diacritics, punctuation and blanks. Two texts without a letter or digit are
/// the same only if they are equal.
bool isSameText(const QString &one, const QString &other);
