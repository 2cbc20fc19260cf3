// Tells which files an import could not take.
//
// Threads: main.
#pragma once

#include <QDialog>

class QLabel;
class QListView;
class SketchedPushButton;

class ImportResultView final : public QDialog {
    Q_OBJECT
public:
    /// `window` can't be used while this is shown.
    explicit ImportResultView(QWidget *window);

    /// The paths of the files; nothing for none. Their names are shown, whole paths as tool tips.
    void setFiles(const QStringList &files);
    /// Shows it, and ends it with the button or a close.
    void runModal();

private:
    QLabel *informationTextField_;
    QListView *contentsTextView_;
    SketchedPushButton *OkBtn_;
};
