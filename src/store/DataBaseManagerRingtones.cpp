// Rows of the table Ringtone, which only libraries made elsewhere have.
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "store/DateText.h"
#include "store/Statement.h"
#include "store/TimeAndSizeText.h"

int32_t DataBaseManager::insertRingtoneItem(const RingtoneItem &ringtone) {
    openedDataBase();
    ++lastRingtoneID_;
    Statement statement(dataBase_, "INSERT INTO Ringtone (RingtoneID, Title, Artist, Album, RingtoneLength, "
                                   "RingtoneSize, MadeDate,RingTonePath ,CoverImagePath) VALUES(?,?,?,?,?,?,?,?,?)");
    if (!statement) {
        logLine("addLibraryFile: sqlite3_prepare failed");
        return 0;
    }
    statement.bindInt(lastRingtoneID_)
        .bindText(covertStringTochar(ringtone.title()))
        .bindText(covertStringTochar(ringtone.artist()))
        .bindText(covertStringTochar(ringtone.album()))
        .bindInt64(ringtone.length())
        .bindInt64(ringtone.size())
        .bindText(dateText(ringtone.madeDate()))
        .bindText(covertStringTochar(ringtone.ringtonePath()))
        .bindText(covertStringTochar(ringtone.coverImagePath()));
    if (const int code = statement.step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("addLibraryFile: sqlite3_step failed: %1").arg(code));
        --lastRingtoneID_;
        return -1;
    }
    return lastRingtoneID_;
}

std::optional<QList<std::shared_ptr<RingtoneItem>>> DataBaseManager::getAllRingtoneItems() {
    Statement row(openedDataBase(), "SELECT * FROM Ringtone");
    if (!row) {
        logLine("getDownloadTask: sqlite3_prepare failed.");
        return std::nullopt;
    }
    QList<std::shared_ptr<RingtoneItem>> ringtones;
    while (row.step() == SQLITE_ROW) {
        auto ringtone = std::make_shared<RingtoneItem>();
        ringtone->setRingtoneID(row.integer(0));
        ringtone->setTitle(row.text(1));
        ringtone->setArtist(row.text(2));
        ringtone->setAlbum(row.text(3));
        ringtone->setLength(row.cutDouble(4));
        ringtone->setSize(row.cutDouble(5));
        ringtone->setMadeDate(dateFromText(row.bytes(6)));
        ringtone->setRingtonePath(row.text(7));
        ringtone->setCoverImagePath(row.text(8));
        ringtones << std::move(ringtone);
    }
    return ringtones;
}

bool DataBaseManager::updateRingtoneItem(const RingtoneItem &ringtone) {
    openedDataBase();
    if (ringtone.ringtoneID() < 0) {
        logLine(QStringLiteral("updateRingtoneItem ringtoneID is invalid: %1 == NULL").arg(ringtone.ringtoneID()));
        return false;
    }
    Statement statement(dataBase_, "UPDATE Ringtone SET Title = ?, Artist = ?, Album = ? WHERE RingtoneID = ?");
    if (!statement) {
        logLine("updateRingtoneItem: sqlite3_prepare failed");
        return false;
    }
    statement.bindText(covertStringTochar(ringtone.title()))
        .bindText(covertStringTochar(ringtone.artist()))
        .bindText(covertStringTochar(ringtone.album()))
        .bindInt(ringtone.ringtoneID());
    if (const int code = statement.step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("updateRingtoneItem: sqlite3_step failed: %1").arg(code));
        return false;
    }
    return true;
}

// The log names songs here; that is how these lines have always read.
bool DataBaseManager::deleteRingtoneItem(const RingtoneItem &ringtone) {
    Statement statement(openedDataBase(), "DELETE FROM Ringtone WHERE RingtoneID = ?");
    if (!statement) {
        logLine(QStringLiteral("deleteSongItem: sqlite3_prepare failed %1").arg(ringtone.ringtoneID()));
        return false;
    }
    if (const int code = statement.bindInt(ringtone.ringtoneID()).step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("deleteSongItem: sqlite3_step failed: %1 %2").arg(code).arg(ringtone.ringtoneID()));
        return false;
    }
    return true;
}
