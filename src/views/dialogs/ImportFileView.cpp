#include "views/dialogs/ImportFileView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/SketchedPushButton.h"

ImportFileView::ImportFileView(ImportFileViewDelegate &delegate, QWidget *window)
    : ProgressSheet(window, localizedString("Import Local Audio...").remove(QStringLiteral("..."))),
      delegate_(delegate),
      cancelButton_(new SketchedPushButton(localizedString("Cancel"), /*isDefault=*/false, this)) {
    addControl(cancelButton_);
    setMessage(localizedString("import file..."));
    cancelButton_->setAutoDefault(false); // Enter is no wish to cancel
    cancelButton_->setFocus();
    connect(cancelButton_, &QPushButton::clicked, this, &ImportFileView::reject);
}

void ImportFileView::disableCancel() { cancelButton_->setEnabled(false); }

void ImportFileView::reject() {
    if (cancelButton_->isEnabled())
        delegate_.cancelButtonClick();
}
