// The text form in which the library stores dates: "2026-11-21 14:03:22 +0000".
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QDateTime>

/// `date` in UTC, cut to whole seconds; "" for an invalid date.
QByteArray dateText(const QDateTime &date);

/// The instant that `text` names, with any offset, in UTC; invalid for any other form.
/// By hand, since QDateTime's parser would take most of the time of reading a library.
QDateTime dateFromText(QByteArrayView text);
