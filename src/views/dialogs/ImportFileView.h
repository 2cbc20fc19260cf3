// The sheet that an import shows while it runs.
//
// Threads: main.
#pragma once

#include "views/dialogs/ProgressSheet.h"

class SketchedPushButton;

/// Outlives its ImportFileView.
class ImportFileViewDelegate {
public:
    /// The button, Escape, or a close.
    virtual void cancelButtonClick() = 0;

protected:
    ~ImportFileViewDelegate() = default;
};

class ImportFileView final : public ProgressSheet {
    Q_OBJECT
public:
    /// `window` can't be used while the sheet is shown.
    ImportFileView(ImportFileViewDelegate &delegate, QWidget *window);

    /// A second cancel asks for nothing more.
    void disableCancel();

    void reject() override;

private:
    ImportFileViewDelegate &delegate_;
    SketchedPushButton *cancelButton_;
};
