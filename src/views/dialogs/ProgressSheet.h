// A sheet that shows how far some work has come.
//
// Threads: main.
#pragma once

#include <QDialog>

class ProgressLine;
class QHBoxLayout;
class QLabel;

class ProgressSheet : public QDialog {
    Q_OBJECT
public:
    /// `window` can't be used while the sheet is shown. `title` is what a screen reader calls it.
    ProgressSheet(QWidget *window, const QString &title);

    void setMessage(const QString &message);
    void setProgressMinValue(int value);
    void setProgressMaxValue(int value);
    void setProgressCurrentValue(int value);

    /// The work can't be stopped half way.
    void reject() override {}

protected:
    /// Puts `widget` behind the progress.
    void addControl(QWidget *widget);
    void resizeEvent(QResizeEvent *event) override;

private:
    void showMessage();
    void showCount();

    QString message_;
    QLabel *messageTextField_;
    QLabel *informationTextField_;
    ProgressLine *progressIndicator_;
    QHBoxLayout *lower_;
};
