#include "support/OtherProgram.h"

#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"

#include <QProcess>
#include <gtest/gtest.h>

std::string outputOf(const QString &program, const QStringList &arguments) {
    QProcess process;
    endWithParent(process);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    EXPECT_TRUE(waitUntil([&] { return process.state() == QProcess::NotRunning; })) << qPrintable(program);
    return process.readAll().trimmed().toStdString();
}
