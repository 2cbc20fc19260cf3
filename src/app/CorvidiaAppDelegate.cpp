#include "app/CorvidiaAppDelegate.h"

#include "app/Recogniser.h"
#include "capture/CaptureDevice.h"
#include "platform/desktop/Panel.h"
#include "platform/files/Folders.h"
#include "platform/files/InPlaceWrite.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "platform/run/MainThread.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/ProcessList.h"
#include "platform/run/UserDefaults.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopedValueRollback>

namespace {
constexpr int kLongestProcessName = 16;
constexpr const char *kProcessName = "Corvidia";

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }
} // namespace

bool CorvidiaAppDelegate::initialize() {
    if (checkApplicationIsRunning(kProcessName)) {
        const QString text = localizedString("A Copy of %@ is already opened.Only one copy of "
                                             "software can be opened at a time.");
        runPanel({localizedString("Already Open"),
                  QString(text).replace("%@", kApplicationFolderName),
                  {localizedString("OK")},
                  {}});
        return false;
    }
    registerUserDefaults();
    createFolders();
    mendInterruptedWrites();
    return true;
}

bool CorvidiaAppDelegate::checkApplicationIsRunning(const QString &name) {
    const QByteArray wanted = name.left(kLongestProcessName).toUtf8();
    int matches = 0;
    for (const ProcessEntry &process : GetBSDProcessList())
        if (ottieniNome(process) == wanted && ++matches == 2)
            return true;
    return false;
}

void CorvidiaAppDelegate::registerUserDefaults() {
    const QString outputFolder = defaultMusicFolder();
    QDir().mkpath(outputFolder); // whoever uses the folder meets the failure
    const bool hasFirstVersionsDevice =
        isExistTessarineAudioDevice() && isInstalledTessarineAudioDevice("Tessarine Audio Device");
    if (hasFirstVersionsDevice || !defaults().contains("DefualtRecordDeviceKey"))
        defaults().setInteger(1, "DefualtRecordDeviceKey");
    defaults().registerDefaults({
        {"TrackID", 0},
        {"MusicsOutputLocation", outputFolder},
        {"SUEnableAutomaticChecks", true},
        {"SUScheduledCheckInterval", 86400},
        {"ISFirstLauch", true},
        {"SHowWarningLess20S", true},
        {"AutoSplitMusic", true},
        {"AutoSplitTimeInterval", 300},
        {"AutoFilterMusic", true},
        {"AutoFilterTimeInterval", 5},
        {"MusicFilesAutoGetID3", true},
        {"FormatsForSelected", 3},
        {"DefaultExportFileType", 0},
        {"DefaultERecordQualityType", 3},
        {"ShowWelcomeAtLaunch", true},
        {"KeepOtherTags", true},
    });
    TagLibHelper::setKeepsOtherTags(defaults().boolForKey("KeepOtherTags"));
}

void CorvidiaAppDelegate::createFolders() {
    const QString covers = coverImageFolder();
    if (!QFile::exists(covers)) {
        if (!QDir().mkpath(covers)) {
            logLine("Create Dir Failed! " + covers);
            return;
        }
        // What the user's mask leaves of the widest rights, and never the right of others to write.
        for (const QString &folder : {covers, applicationSupportFolder()})
            QFile::setPermissions(folder, QFile::permissions(folder) & ~(QFile::WriteGroup | QFile::WriteOther));
    }
    defaults().setInteger(defaults().integerForKey("RateLaunchTimes") + 1, "RateLaunchTimes");
}

CorvidiaAppDelegate::CorvidiaAppDelegate(const InputUnitFactory &makeInputUnit)
    : mainWindow_(makeInputUnit), presence_(mainWindow_), sessionBus_(new SessionBus(this, *this)) {
    mainWindow_.setTerminate([this] { terminate(); });
    mainWindow_.setHasTray([this] { return presence_.hasTray(); });
    mainWindow_.mainMenu().onChoice(MenuItem::InstallDevice, [this] { installAudioDevice(); });
    defaults().setWriteFailed([this](const QString &file) {
        mainWindow_.tellOnceShown(localizedString("The settings can't be saved"),
                                  localizedString("%1 can't be written. What you set counts until the program ends, "
                                                  "and is saved when there is room again.")
                                      .arg(file));
    });
}

void CorvidiaAppDelegate::applicationDidFinishLaunching() {
    isMustTerminate_ = false;
    defaults().synchronize();
    AudioConverter::Initialize(QCoreApplication::applicationDirPath());
    mainWindow_.window().center();
    mainWindow_.showWindow();
    sessionBus_->connectToBus();
    // The window first, the rows as they come.
    performAfterDelay(/*seconds=*/0, this, [this] {
        mainWindow_.loadTracks();
        setUpRecogniser();
        mainWindow_.identifyGate().initGetID3Ctr();
        presence_.start();
    });
}

void CorvidiaAppDelegate::installAudioDevice() {
    if (!isInstallAudioDeviceWithClassName(kCaptureDeviceClass)) {
        if (mainWindow_.showInstallDevice())
            mainWindow_.listenAudio();
        return;
    }
    const Panel question{localizedString("Uninstall Recording Extra"),
                         recordingExtraText(),
                         {localizedString("Uninstall"), localizedString("Cancel")},
                         {}};
    // A recording may have been started over the bus while the question stood.
    if (runPanel(question).button != 0 || mainWindow_.isRecording() || mainWindow_.mainExiting())
        return;
    const bool isGone = unInstallAudioDevice(kCaptureDriverName);
    runPanel(
        {localizedString(isGone ? "Uninstall successed!" : "Uninstall failed!"), " ", {localizedString("OK")}, {}});
    if (isGone)
        NotificationCenter::defaultCenter().postNotification("PluginUninstallNotification");
}

void CorvidiaAppDelegate::activateAction(const QString &name) {
    // Each is one half of what the button does.
    if (name == (mainWindow_.isRecording() ? "stop" : "record"))
        mainWindow_.recorder();
    else if (name == "cut")
        mainWindow_.recorderCut();
    else if (name == "quit")
        terminateNow(); // whoever calls over the bus may not be there to answer a
                        // question
}

bool CorvidiaAppDelegate::applicationShouldTerminate() {
    if (isMustTerminate_ || !mainWindow_.isRecording())
        return true;
    if (asksToQuit_) // the bus asks again, and the user has not answered yet
        return false;
    const Panel question{localizedString("Recording are being now,do you want to stop recording and quit?"),
                         {},
                         {localizedString("Quit"), localizedString("Don't Quit")},
                         {}};
    const QScopedValueRollback asks(asksToQuit_, true);
    return runPanel(question).button == 0;
}

void CorvidiaAppDelegate::terminate() {
    if (applicationShouldTerminate())
        terminateNow();
}

void CorvidiaAppDelegate::terminateNow() {
    applicationWillTerminate();
    QCoreApplication::exit(); // quit() asks each window first, and a sheet that stays open says no
}

void CorvidiaAppDelegate::applicationWillTerminate() {
    if (std::exchange(hasTerminated_, true))
        return;
    mainWindow_.mainWindowWillClose();
    AudioConverter::Uninitialize();
    defaults().synchronize();
}

void CorvidiaAppDelegate::applicationShouldHandleReopen() { mainWindow_.showWindow(); }
