// The panel in which the user chooses music files, or a folder of them.
//
// Threads: main.
#pragma once

#include <QFileDialog>

class OpenMusicPanel final : public QFileDialog {
    Q_OBJECT
public:
    /// `window` can't be used while the panel is shown. It starts in `folder`, or for a null one where the user was
    /// last. Deletes itself when it is closed.
    OpenMusicPanel(QWidget *window, const QString &folder);

    /// What was chosen: files, or a folder.
    QStringList chosenPaths() const;

private:
    QString folder_; // null unless it was chosen
};
