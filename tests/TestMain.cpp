// Every test runs in a process of its own; this gives it an event loop and a fresh home folder, removed at the end.
#include <QTemporaryDir>
#include <gtest/gtest.h>

#ifdef CORVIDIA_GUI_TEST
#include <QApplication>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir home("/tmp/corvidia-XXXXXX"); // short, as the paths of sockets have to be
    qputenv("HOME", home.path().toUtf8());
    // The folders and the desktop of whoever runs the tests have no say in their outcome.
    for (const char *variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
                                 "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS"})
        qunsetenv(variable);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const Application application(argc, argv);
    return RUN_ALL_TESTS();
}
