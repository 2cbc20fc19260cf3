#include "views/dialogs/PanelDialog.h"

#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"
#include "views/controls/SketchedPushButton.h"

#include <QCheckBox>
#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>

namespace {

constexpr int kTextWidth = 340;
constexpr QSize kIconSize(48, 48);

// A path has no blanks to break a line at.
QString breakable(QString text) { return text.replace(QLatin1Char('/'), QStringLiteral("/\u200b")); }

QLabel *textLabel(const QString &text, const QFont &font, QWidget *parent) {
    auto *label = new QLabel(breakable(text), parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFont(font);
    label->setFixedWidth(kTextWidth);
    return label;
}

} // namespace

PanelAnswer answerWithDialog(QWidget *parent, const Panel &panel) {
    // The parent may go while the question stands, and takes its dialog along.
    const QPointer<QDialog> dialog = new QDialog(parent);
    dialog->setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    dialog->setAccessibleName(panel.message);
    dialog->setAccessibleDescription(panel.text);
    Look::shared().dress(*dialog);

    auto *icon = new QLabel(dialog);
    icon->setPixmap(imageNamed(QStringLiteral("icon"), kIconSize, dialog->devicePixelRatioF()));
    auto *texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addWidget(textLabel(panel.message, lookFont(kStatusPixels, QFont::DemiBold), dialog));
    if (!panel.text.isEmpty())
        texts->addWidget(textLabel(panel.text, lookFont(kListPixels), dialog));
    QCheckBox *suppression = nullptr;
    if (!panel.suppression.isEmpty()) {
        suppression = new QCheckBox(panel.suppression, dialog);
        suppression->setFont(lookFont(kListPixels));
        texts->addSpacing(4);
        texts->addWidget(suppression);
    }
    auto *upper = new QHBoxLayout;
    upper->setSpacing(18);
    upper->addWidget(icon, 0, Qt::AlignTop);
    upper->addLayout(texts);

    // The first button stands at the right end, where the eye arrives last, and yet first in the order of Tab.
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(4);
    buttons->addStretch();
    int answer = static_cast<int>(panel.buttons.size()) - 1;
    for (int i = 0; i < panel.buttons.size(); ++i) {
        auto *button = new SketchedPushButton(panel.buttons.at(i), /*isDefault=*/i == 0, dialog);
        buttons->insertWidget(1, button);
        QObject::connect(button, &QPushButton::clicked, dialog, [&answer, i, dialog] {
            answer = i;
            dialog->accept();
        });
        if (i == 0)
            button->setFocus();
    }

    auto *layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 22, 20, 16);
    layout->setSpacing(18);
    layout->addLayout(upper);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    dialog->exec();
    const bool isSuppressed = dialog && suppression && suppression->isChecked();
    delete dialog.data();
    return {.button = answer, .suppressed = isSuppressed};
}
