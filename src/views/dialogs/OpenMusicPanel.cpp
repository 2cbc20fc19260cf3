#include "views/dialogs/OpenMusicPanel.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"

#include <QDialogButtonBox>
#include <QPushButton>

OpenMusicPanel::OpenMusicPanel(QWidget *window, const QString &folder)
    : QFileDialog(window, localizedString("Import Local Audio...").remove(QStringLiteral("...")), folder) {
    // The desktop's own panel takes files or folders, never both.
    setOption(QFileDialog::DontUseNativeDialog);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setFileMode(QFileDialog::ExistingFiles);
    setNameFilter(QStringLiteral("MP3, M4A (*.mp3 *.m4a)"));
    Look::shared().dress(*this);
    auto *box = findChild<QDialogButtonBox *>();
    auto *folderBtn = new QPushButton(localizedString("Import This Folder"), this);
    folderBtn->setAutoDefault(false);
    box->addButton(folderBtn, QDialogButtonBox::ActionRole);
    connect(folderBtn, &QPushButton::clicked, this, [this] {
        folder_ = directory().absolutePath();
        done(QDialog::Accepted);
    });
}

QStringList OpenMusicPanel::chosenPaths() const { return folder_.isNull() ? selectedFiles() : QStringList{folder_}; }
