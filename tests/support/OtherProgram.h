// Programs that users have, beside the one under test.
#pragma once

#include <QStringList>
#include <string>

/// What `program` wrote, errors too, without the blanks at its ends. The event loop runs meanwhile.
std::string outputOf(const QString &program, const QStringList &arguments);
