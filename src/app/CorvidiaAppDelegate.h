// The frame of the process: single instance, user defaults, folders, launch, re-open and quit.
//
// Threads: main.
#pragma once

#include "app/DesktopPresence.h"
#include "app/MainWindowCtr.h"
#include "app/SessionBus.h"

#include <QObject>
#include <memory>

class CorvidiaAppDelegate final : public QObject, public SessionBusDelegate {
    Q_OBJECT
public:
    /// What comes before everything else: checks for another copy, registers the user defaults and makes the folders.
    /// False, after the user has been told, if another copy runs; the program is to end then.
    static bool initialize();

    /// True as soon as two processes are named `name`, of which this one is one. A name of more than 16 characters is
    /// compared by its first 16.
    static bool checkApplicationIsRunning(const QString &name);

    explicit CorvidiaAppDelegate(const InputUnitFactory &makeInputUnit);

    /// Shows the window and takes the program's name on the session bus.
    void applicationDidFinishLaunching();

    /// Asks while a recording runs; ends the program unless the user wants it to go on.
    void terminate();
    /// Ends the program in order and without a question: the open file is closed and kept.
    void terminateNow();
    /// Whether the program may end; asks the user while a recording runs.
    bool applicationShouldTerminate();
    /// Brings a hidden or miniaturised window to the front.
    void applicationShouldHandleReopen();

    /// Installs the capture device or takes it away, as the user wants it.
    void installAudioDevice();

    void activate() override { applicationShouldHandleReopen(); }
    void activateAction(const QString &name) override;

    MainWindowCtr &mainWindow() { return mainWindow_; }

private:
    static void registerUserDefaults();
    static void createFolders();
    void applicationWillTerminate();

    bool isMustTerminate_ = false;
    bool hasTerminated_ = false;
    bool asksToQuit_ = false;
    MainWindowCtr mainWindow_;
    DesktopPresence presence_;
    SessionBus *sessionBus_; // child of this object, as an adaptor has to be
};
