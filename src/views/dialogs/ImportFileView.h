// The sheet that an import shows while it runs.
//
// Threads: main.
#pragma once

#include <QDialog>

class ProgressLine;
class QLabel;
class SketchedPushButton;

/// Outlives its ImportFileView.
class ImportFileViewDelegate {
public:
    /// The button, Escape, or a close.
    virtual void cancelButtonClick() = 0;

protected:
    ~ImportFileViewDelegate() = default;
};

class ImportFileView final : public QDialog {
    Q_OBJECT
public:
    /// `window` can't be used while the sheet is shown.
    ImportFileView(ImportFileViewDelegate &delegate, QWidget *window);

    void setMessage(const QString &message);
    void setProgressMinValue(int value);
    void setProgressMaxValue(int value);
    void setProgressCurrentValue(int value);
    /// A second cancel asks for nothing more.
    void disableCancel();

    void reject() override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void showMessage();
    void showCount();

    ImportFileViewDelegate &delegate_;
    QString message_;
    QLabel *messageTextField_;
    QLabel *informationTextField_;
    ProgressLine *progressIndicator_;
    SketchedPushButton *cancelButton_;
};
