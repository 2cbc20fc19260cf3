// The main job, unattended: records a WAV file, or a stream that it makes, with the real program on a private machine,
// and prints what was kept.
#include "demo/NamedTracks.h"
#include "demo/RecordedStream.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTextStream>

namespace {
void printTable(const QJsonArray &tracks) {
    QTextStream out(stdout);
    out << QStringLiteral("%1  %2  %3  %4  %5\n")
               .arg("Title", -17)
               .arg("Seconds", 8)
               .arg("Frames", 10)
               .arg("Type", -4)
               .arg("File");
    for (const auto &value : tracks) {
        const QJsonObject track = value.toObject();
        out << QStringLiteral("%1  %2  %3  %4  %5\n")
                   .arg(track["title"].toString(), -17)
                   .arg(track["seconds"].toDouble(), 8, 'f', 3)
                   .arg(track["frames"].toInteger(), 10)
                   .arg(track["type"].toString(), -4)
                   .arg(track["path"].toString());
    }
}

int fail(const QString &reason) {
    QTextStream(stderr) << "demo: " << reason << '\n';
    return 1;
}
} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription("Records FILE, or a stream made for it, "
                                      "with Corvidia on a private machine.");
    options.addHelpOption();
    options.addOptions({{"type", "Format of the recording: m4a or mp3.", "type", "m4a"},
                        {"server", "Sound server: pulseaudio or pipewire.", "server", "pulseaudio"},
                        {"out", "Folder for everything that stays.", "folder", "demo"},
                        {"frames", "Folder for pictures of the window, one every 200 ms.", "folder"},
                        {"keep-short", "Keep recordings below the length limit too."},
                        {"identify", "Record three songs that get their names from a player on the session bus, from "
                                     "a service, and from the library."}});
    options.addPositionalArgument("FILE", "A WAV file.", "[FILE.wav]");
    options.process(application);
    const QString type = options.value("type");
    const QString server = options.value("server");
    if ((type != "m4a" && type != "mp3") || (server != "pulseaudio" && server != "pipewire") ||
        options.positionalArguments().size() > (options.isSet("identify") ? 0 : 1))
        options.showHelp(2);

    RecordingPlan plan;
    plan.program = QCoreApplication::applicationDirPath() + "/Corvidia";
    plan.outFolder = QDir(options.value("out")).absolutePath();
    plan.type = type == "mp3" ? ExportType::MP3 : ExportType::M4A;
    plan.server = server == "pipewire" ? PrivateSoundServer::Kind::PipeWire : PrivateSoundServer::Kind::PulseAudio;
    const bool keepsShort = options.isSet("keep-short");
    if (keepsShort)
        plan.settings["AutoFilterMusic"] = false;

    if (options.isSet("frames"))
        plan.framesFolder = QDir(options.value("frames")).absolutePath();

    SongStream stream;
    const bool isIdentified = options.isSet("identify");
    const bool isOwnStream = options.positionalArguments().isEmpty() && !isIdentified;
    const QTemporaryDir folder;
    if (isOwnStream) {
        stream = makeSongStream();
        plan.wavPath = folder.filePath("stream.wav");
        if (!writeWav(stream, plan.wavPath))
            return fail(plan.wavPath + " cannot be written");
    } else if (!isIdentified) {
        plan.wavPath = QFileInfo(options.positionalArguments().first()).absoluteFilePath();
        if (!QFile::exists(plan.wavPath))
            return fail(plan.wavPath + " does not exist");
    }
    if (const QString error = isIdentified ? recordAndIdentify(plan) : recordStream(plan); !error.isNull())
        return fail(error);

    const QJsonArray tracks = tracksOfLibrary(plan.outFolder);
    printTable(tracks);
    QFile json(plan.outFolder + "/tracks.json");
    if (!json.open(QIODevice::WriteOnly) || json.write(QJsonDocument(tracks).toJson()) < 0)
        return fail(json.fileName() + " cannot be written");
    const QStringList complaints = isIdentified  ? complaintsAboutNames(tracks, plan.outFolder)
                                   : isOwnStream ? complaintsAbout(tracks, stream, keepsShort)
                                                 : QStringList();
    if (!complaints.isEmpty())
        return fail(complaints.join("\ndemo: "));
    if (isIdentified)
        QTextStream(stdout) << "Each song got its name and its cover: from the player, from the services, and from the "
                               "library.\n";
    else if (isOwnStream)
        QTextStream(stdout) << "What had to be kept was kept, each song from its start.\n";
    return 0;
}
