#include "library/LibraryCtr.h"

#include "platform/run/LocalizedString.h"
#include "store/TimeAndSizeText.h"

void LibraryCtr::addNewRecordingSong(const std::shared_ptr<SongItem> &song) {
    marrNewRecord_.prepend(song);
    showNewRecordStatus();
}

void LibraryCtr::showNewRecordStatus() {
    if (marrNewRecord_.isEmpty()) {
        delegate_.displayStatus({});
        return;
    }
    qint64 length = 0;
    qint64 size = 0;
    for (const auto &song : marrNewRecord_) {
        length += song->length();
        size += song->size();
    }
    delegate_.displayStatus(QStringLiteral("%1 %2, %3, %4")
                                .arg(marrNewRecord_.size())
                                .arg(localizedString(marrNewRecord_.size() == 1 ? "track" : "tracks"),
                                     ConvertTimeToString(length), ConvertSizeToString(size)));
}
