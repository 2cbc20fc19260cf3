// What the program logs, kept for a test.
#pragma once

#include "platform/run/Log.h"

#include <QStringList>

/// As long as one lives, the log comes into it.
struct KeptLog : QStringList {
    KeptLog() {
        setLogSink([this](const QString &line) { append(line); });
    }
    ~KeptLog() { setLogSink({}); }
    Q_DISABLE_COPY(KeptLog)
};
