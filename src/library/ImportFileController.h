// One import: finds the files, makes a track of each, and shows a sheet meanwhile.
//
// Threads: main. The work has a thread of its own, "Import", with which it shares nothing but ImportWork: a folder on a
// network that does not answer may hold that thread for as long as it likes. Once the user has cancelled and patience
// is over it is left to itself.
#pragma once

#include "store/SongArray.h"
#include "views/dialogs/ImportFileView.h"

#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <thread>

class ImportFileController;
struct ImportWork;

/// Outlives its ImportFileController.
class ImportFileControllerDelegate {
public:
    /// The end call, with the tracks made, in the order of their files. `hasFound`: there was something new among the
    /// files; without it no sheet was shown, or only for the search. The receiver calls endSheet() when it has taken
    /// the tracks in.
    virtual void importFileDidEnd(ImportFileController &controller, const SongArray &returnArray, bool hasFound) = 0;
    /// Nothing follows.
    virtual void importSheetDidEnd() = 0;

protected:
    ~ImportFileControllerDelegate() = default;
};

/// The covers that an import writes. The same picture in one file after the other takes the disk's room once.
class ImportCovers {
public:
    ImportCovers();
    /// Where `cover` was written; null if that failed.
    QString pathOf(const QImage &cover);

private:
    QImage last_;
    QString lastPath_;
};

class ImportFileController final : public QObject, public ImportFileViewDelegate {
    Q_OBJECT
public:
    /// `known`: the paths of the library's tracks.
    ImportFileController(ImportFileControllerDelegate &delegate, const QStringList &known);
    ~ImportFileController() override;

    /// What was chosen or dropped: files and folders. Before the run.
    void setFiles(const QStringList &files);
    /// Starts the thread. The sheet comes over `window`, once there is something new or the search for it takes longer
    /// than a moment. The end call follows, never before this returns.
    void runModalForMainWindow(QWidget *window);
    bool isUserCancelled() const;
    /// Ends it at once, with what was read so far: the end call comes before this returns, unless it came already.
    void finish();
    /// Closes the sheet, and tells of the files that failed.
    void endSheet();

    /// A track made of the file; null if it holds neither MP3 nor M4A sound. Any thread.
    static SongPtr songItemWithContentsOfFile(const QString &path, ImportCovers &covers);
    /// Writes `image` as TIFF, whatever the path's ending says; nothing is left of a file that could not be written.
    /// Any thread.
    static bool writeImageToPath(const QImage &image, const QString &path);
    /// "%2d:%02d:%02d" from an hour on, else "%2d:%02d".
    static QString formatDurationString(int seconds);

private:
    struct Results {
        SongArray sounds;
        QStringList failures;
        bool hasFound;
    };

    void cancelButtonClick() override;
    void look();
    void showSheet();
    void awaitEnd();
    void importDone();
    Results takeResults();
    void showImportResultInfo(const QStringList &files);

    ImportFileControllerDelegate &delegate_;
    std::shared_ptr<ImportWork> work_;
    std::thread thread_; // until its end was seen, or patience was over
    QTimer lookTimer_;
    QElapsedTimer clock_; // since the start, or the cancel
    QPointer<QWidget> window_;
    std::unique_ptr<ImportFileView> view_;
    QStringList failures_;
};
