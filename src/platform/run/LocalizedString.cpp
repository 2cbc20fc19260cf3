#include "platform/run/LocalizedString.h"

#include <QCoreApplication>

QString localizedString(const char *key) { return QCoreApplication::translate("Corvidia", key); }
