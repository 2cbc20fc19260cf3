// How files that the user has already come into the library: from the menu or by a drop, and in which order.
//
// Threads: main.
#pragma once

#include "library/ImportFileController.h"
#include "library/TrackLists.h"

#include <QObject>
#include <QPointer>
#include <memory>

class OpenMusicPanel;

/// What the import needs of the page. Outlives its ImportCtr.
class ImportCtrDelegate {
public:
    virtual const QString &category() const = 0;
    virtual void showAllMusic() = 0;
    /// Tracks came into TrackLists::allSongArray().
    virtual void didImport() = 0;
    virtual void displayStatus([[maybe_unused]] const QString &status) {}
    /// Tracks did not come in.
    virtual void libraryWasNotWritten([[maybe_unused]] const QString &consequence) {}
    /// Files that are being recorded.
    virtual QStringList pathsInProgress() const { return {}; }

protected:
    ~ImportCtrDelegate() = default;
};

class ImportCtr final : public QObject, public ImportFileControllerDelegate {
    Q_OBJECT
public:
    /// Sheets are shown over the window that holds `page`. Hears of "HasImportedFiles".
    ImportCtr(ImportCtrDelegate &delegate, TrackLists &lists, QWidget &page);
    ~ImportCtr() override;

    /// An import runs, and there is only one at a time.
    bool isImporting() const { return isImporting_; }
    /// Lets the user choose files, or folders.
    void importLocalFiles();
    /// The program ends: what an import has read so far is in the library file when this returns.
    void finish();

private:
    void openPanelDidEnd(OpenMusicPanel &panel, int returnCode);
    void importItems(const QStringList &paths);
    void showAllMusic();
    void loadData(const QStringList &paths);
    void importFileDidEnd(ImportFileController &controller, const SongArray &returnArray, bool hasFound) override;
    void importSheetDidEnd() override;
    void insertNext();
    void insertSome();
    void refuse(const SongItem &song);
    void leaveOutRecordings(SongArray &songs) const;

    ImportCtrDelegate &delegate_;
    TrackLists &lists_;
    QWidget &page_;
    QPointer<OpenMusicPanel> openPanel_;
    std::unique_ptr<ImportFileController> importFileController_; // stays until the next import
    bool isImporting_ = false;
    SongArray arriving_;    // made, and not yet in the database
    SongArray inserted_;    // in the database, and not yet in the lists
    qsizetype refused_ = 0; // by the database
};
