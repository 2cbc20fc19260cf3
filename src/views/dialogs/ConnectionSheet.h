// The sheet that says that nobody can be asked for the names of tracks.
//
// Threads: main.
#pragma once

#include <QDialog>

class SketchedPushButton;

class ConnectionSheet final : public QDialog {
    Q_OBJECT
public:
    /// `window` can't be used while the sheet is open.
    explicit ConnectionSheet(QWidget *window);

    /// Another try runs.
    void setTrying(bool isTrying);

signals:
    void retryWanted();

private:
    QWidget *progressImageView_;
    SketchedPushButton *btnRetray_;
};
