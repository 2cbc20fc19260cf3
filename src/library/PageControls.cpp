#include "library/PageControls.h"

#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"

#include <QApplication>

QString PageControls::changePlayMenuItem(const QString &title) const {
    QString play = localizedString("Play");
    QString stop = localizedString("Stop");
    QString pause = localizedString("Pause");
    if (title != play && title != stop && title != pause)
        return title;
    if (!delegate_.isPlaying())
        return play;
    if (!delegate_.playItem())
        return title;
    return delegate_.category() == delegate_.playInCategory() ? pause : stop;
}

bool PageControls::validateMenuItem(const QString &title) const {
    logLine(title);
    if (QApplication::activeModalWidget())
        return false;
    const bool isImport = title == localizedString("Import Local Audio...");
    if (delegate_.isDisplayRecordView()) {
        if (isImport || title == localizedString("Delete"))
            return false;
    } else if (isImport) {
        return true;
    }
    if (title != localizedString("Play"))
        return true;
    return !delegate_.isRecording() && delegate_.changePlayStatus();
}

int PageControls::badgeCount(int row) const {
    switch (row) {
    case 1:
        return static_cast<int>(lists_.newRecordArray()->size());
    case 2:
        return static_cast<int>(lists_.allSongArray()->size());
    case 3:
        if (delegate_.category() == localizedString("Untagged Music") && !delegate_.isSearching())
            return static_cast<int>(delegate_.shownArray().size());
        return lists_.untaggedCount();
    default:
        return 0;
    }
}
