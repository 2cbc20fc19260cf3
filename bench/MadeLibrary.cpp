#include "MadeLibrary.h"

#include "platform/run/Log.h"
#include "store/DataBaseManager.h"

#include <QDateTime>
#include <QDir>
#include <QTimeZone>
#include <iterator>
#include <sqlite3.h>

namespace {

struct Names {
    const char *title, *artist, *album;
};
constexpr Names kNames[] = {
    {"Title of track", "Artist number", "Album number"},
    {"Grüße aus der Straße", "Die Ärzte vom Dienst", "Über allen Gipfeln"},
    {"Вечерняя песня", "Ансамбль песни и пляски", "Лучшие песни"},
    {"夜明けの歌", "東京室内楽団", "第九番目の季節"},
};

} // namespace

QByteArray makeLibrary(int tracks) {
    setLogSink([](const QString &) {});
    const QDir folder(QDir::home().filePath(".local/share/Tessarine Corvidia"));
    folder.mkpath("CoverImage");
    DataBaseManager::defaultManager().loadDataBase();

    const QByteArray path = folder.filePath("Library.db").toUtf8();
    sqlite3 *connection = nullptr;
    sqlite3_open(path.constData(), &connection);
    sqlite3_exec(connection, "BEGIN", nullptr, nullptr, nullptr);
    const QDateTime first(QDate(2020, 1, 1), QTime(), QTimeZone::utc());
    for (int i = 1; i <= tracks; ++i) {
        const auto &[title, artist, album] = kNames[static_cast<size_t>(i / 12) % std::size(kNames)];
        const QString row =
            QStringLiteral(
                "INSERT INTO Song VALUES(%1,'%2 %1','%3 %4','%5 %6','Genre',%7,%8,0,'%9','2026-11-21 10:15:%10 "
                "+0000','/home/somebody/Music/Tessarine Corvidia/%3 %4/%2 %1.m4a',256000,44100,'M4A "
                "audio','',-1,0,1,6)")
                .arg(i)
                .arg(title, artist)
                .arg(i / 60)
                .arg(album)
                .arg(i / 12)
                .arg(180000 + i)
                .arg(5000000 + i)
                .arg(1960 + i / 12 % 60)
                .arg(first.addSecs(i * 240).toString("yyyy-MM-dd HH:mm:ss"));
        sqlite3_exec(connection, row.toUtf8().constData(), nullptr, nullptr, nullptr);
    }
    sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(connection);
    return path;
}
