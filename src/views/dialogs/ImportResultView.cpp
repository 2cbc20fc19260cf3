#include "views/dialogs/ImportResultView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/SketchedPushButton.h"

#include <QAbstractListModel>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QShortcut>

namespace {

constexpr QSize kSize(400, 300);

// Made for lists of any length: nothing is done for a name that is not in sight.
class FailedFilesModel : public QAbstractListModel {
public:
    FailedFilesModel(QStringList paths, QObject *parent) : QAbstractListModel(parent), paths_(std::move(paths)) {
        // A folder's path may end with a slash, and has no name then.
        paths_.removeIf([](const QString &path) { return nameOf(path).isEmpty(); });
    }

    static QString nameOf(const QString &path) { return path.mid(path.lastIndexOf(u'/') + 1); }

    int rowCount(const QModelIndex &parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(paths_.size());
    }

    QVariant data(const QModelIndex &index, int role) const override {
        if (role == Qt::DisplayRole)
            return oneLine(nameOf(paths_.at(index.row())));
        if (role == Qt::ToolTipRole) // which would read a name like "<b>" as a sign
            return QStringLiteral("<span>%1</span>").arg(oneLine(paths_.at(index.row())).toHtmlEscaped());
        return {};
    }

private:
    QStringList paths_;
};

void copyNames(const QListView &list) {
    QModelIndexList rows = list.selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    QStringList names;
    for (const QModelIndex &row : rows)
        names << row.data().toString();
    QGuiApplication::clipboard()->setText(names.join(u'\n'));
}

} // namespace

ImportResultView::ImportResultView(QWidget *window)
    : QDialog(window),
      informationTextField_(new QLabel(this)),
      contentsTextView_(new QListView(this)),
      OkBtn_(new SketchedPushButton(localizedString("OK"), /*isDefault=*/true, this)) {
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    Look::shared().dress(*this);
    informationTextField_->setTextFormat(Qt::PlainText);
    informationTextField_->setWordWrap(true);
    informationTextField_->setFont(lookFont(kStatusPixels, QFont::DemiBold));
    contentsTextView_->setFont(lookFont(kListPixels));
    contentsTextView_->setUniformItemSizes(true);
    contentsTextView_->setTextElideMode(Qt::ElideMiddle);
    contentsTextView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    contentsTextView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    contentsTextView_->setVerticalScrollBar(new CustomizeScroller(Qt::Vertical, contentsTextView_));
    auto *copy = new QShortcut(QKeySequence::Copy, contentsTextView_);
    copy->setContext(Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, [this] { copyNames(*contentsTextView_); });
    connect(OkBtn_, &QPushButton::clicked, this, &QDialog::accept);

    auto *lower = new QHBoxLayout;
    lower->addStretch();
    lower->addWidget(OkBtn_);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 20, 14);
    layout->setSpacing(12);
    layout->addWidget(informationTextField_);
    layout->addWidget(contentsTextView_, 1);
    layout->addLayout(lower);
    resize(kSize);
    OkBtn_->setFocus();
}

void ImportResultView::setFiles(const QStringList &files) {
    if (files.isEmpty())
        return;
    const QString information = localizedString("Import finished. %d file(s) added failed.")
                                    .replace(QStringLiteral("%d"), QString::number(files.size()));
    informationTextField_->setText(information);
    setAccessibleName(information);
    contentsTextView_->setAccessibleName(information);
    contentsTextView_->setModel(new FailedFilesModel(files, contentsTextView_));
}

void ImportResultView::runModal() { open(); }
