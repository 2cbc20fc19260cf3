// Texts of strangers, made fit for one line of a drawing.
//
// Threads: any.
#pragma once

#include <QFontMetrics>
#include <QString>

/// The beginning of `text`, some hundred characters at most, as one line: line breaks, NULs and what turns the
/// direction of writing become blanks, so that no title reaches into what stands beside it.
QString oneLine(const QString &text);

/// What `width` has room for, the dots for what is left out where `text` would go on in its own direction of writing.
QString elidedLine(const QString &text, const QFontMetrics &metrics, Qt::TextElideMode mode, int width);
