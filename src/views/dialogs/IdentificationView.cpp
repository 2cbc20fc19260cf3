#include "views/dialogs/IdentificationView.h"

#include "identify/recognition/RecognitionSettings.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/UserDefaults.h"
#include "views/controls/Look.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchedCheckBox.h"
#include "views/controls/SketchedPushButton.h"
#include "views/controls/SketchedSheet.h"
#include "views/controls/TextButton.h"
#include "views/dialogs/IdentificationConsent.h"

#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QUrl>
#include <QVBoxLayout>

namespace {

constexpr int kTextWidth = 420;
constexpr int kTextIndent = kCheckBoxSize + 12; // under the words of a check box
constexpr int kFieldHeight = 30;
constexpr int kTitleWidth = 130;
constexpr int kLongestEntry = 500; // characters

UserDefaults &defaults() { return UserDefaults::standardUserDefaults(); }

/// A line to write on, in a sketched frame.
class SketchedField : public QLineEdit {
public:
    explicit SketchedField(QWidget *parent) : QLineEdit(parent) {
        setFrame(false);
        setFont(lookFont(kListPixels));
        setTextMargins(9, 0, 9, 0);
        setFixedHeight(kFieldHeight);
        setMaxLength(kLongestEntry);
        setAttribute(Qt::WA_Hover);
    }

protected:
    void paintEvent(QPaintEvent *event) override {
        QLineEdit::paintEvent(event);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const LookColour line = hasFocus() ? LookColour::Teal : underMouse() ? LookColour::Soft : LookColour::Line;
        painter.setPen(sketchPen(lookColour(line), hasFocus() ? kStrokeWidth : 1.3));
        painter.drawPath(sketchedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7));
    }
};

QLabel *textLabel(const QString &text, QPalette::ColorRole colour, int width, QWidget *parent) {
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFont(lookFont(kSecondLinePixels));
    label->setForegroundRole(colour);
    label->setFixedWidth(width);
    return label;
}

QLabel *explanation(const QString &text, QWidget *parent) {
    return textLabel(text, QPalette::PlaceholderText, kTextWidth - kTextIndent, parent);
}

QVBoxLayout *sheetLayout(QWidget *sheet) {
    auto *lines = new QVBoxLayout(sheet);
    lines->setContentsMargins(16, 12, 16, 14);
    lines->setSpacing(4);
    return lines;
}

/// A check box with the words that explain it.
QCheckBox *addSwitch(QVBoxLayout &lines, const QString &title, const QString &text, QWidget *parent) {
    auto *box = new SketchedCheckBox(title, parent);
    box->setAccessibleDescription(text);
    lines.addWidget(box, 0, Qt::AlignLeft);
    auto *words = new QHBoxLayout;
    words->addSpacing(kTextIndent);
    words->addWidget(explanation(text, parent));
    lines.addLayout(words);
    return box;
}

QString textOf(const QLineEdit &field) { return field.text().trimmed(); }

void storeText(const QString &text, const char *key) {
    if (text.isEmpty())
        defaults().removeObjectForKey(QLatin1String(key));
    else
        defaults().setObject(text, QLatin1String(key));
}

QString storedText(const char *key) { return defaults().stringForKey(QLatin1String(key)).trimmed(); }

} // namespace

IdentificationView::IdentificationView(QWidget *parent) : QDialog(parent) {
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Tessarine Corvidia"));
    setAccessibleName(localizedString("Identification"));
    setLayoutDirection(Qt::LeftToRight); // as its check boxes are drawn
    Look::shared().dress(*this);
    auto *heading = new QLabel(localizedString("Who may be asked what a track is"), this);
    heading->setFont(lookFont(kStatusPixels, QFont::DemiBold));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 14);
    layout->setSpacing(10);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(heading);
    layout->addWidget(makeSources());
    layout->addWidget(makeOnline());
    layout->addLayout(makeBottom());
    load();
    btnPlayers_->setFocus();
}

QWidget *IdentificationView::makeSources() {
    auto *sheet = new SketchedSheet(/*margin=*/1, /*radius=*/9, this);
    QVBoxLayout *lines = sheetLayout(sheet);
    btnPlayers_ = addSwitch(*lines, localizedString("The player that is heard"),
                            localizedString("Players on this computer say what they play. Nothing leaves it."), sheet);
    lines->addSpacing(6);
    btnLibrary_ = addSwitch(
        *lines, localizedString("The library"),
        localizedString("A song that was identified before is known when it is heard again. Nothing leaves this "
                        "computer."),
        sheet);
    return sheet;
}

QWidget *IdentificationView::makeOnline() {
    auto *sheet = new SketchedSheet(/*margin=*/1, /*radius=*/9, this);
    QVBoxLayout *lines = sheetLayout(sheet);
    btnOnline_ = addSwitch(*lines, localizedString("AcoustID and MusicBrainz, over the network"),
                           identificationConsentText() + QLatin1Char(' ') +
                               localizedString("Without the tick, nobody in the network is asked any more."),
                           sheet);
    lines->addSpacing(6);
    keyField_ = addAddress(*lines, kAcoustIDKey, localizedString("Application key"), {});
    lblKey_ = textLabel({}, QPalette::PlaceholderText, kTextWidth, sheet);
    lblKey_->setAlignment(Qt::AlignRight);
    lines->addWidget(lblKey_);
    auto *advanced = new TextButton(localizedString("Advanced"), sheet);
    advancedBtn_ = advanced;
    advanced->setCheckable(true);
    lines->addWidget(advanced, 0, Qt::AlignLeft);
    lines->addWidget(makeAdvanced());
    connect(advanced, &QAbstractButton::toggled, this, &IdentificationView::setAdvancedShown);
    connect(btnOnline_, &QCheckBox::toggled, this, &IdentificationView::validate);
    return sheet;
}

QWidget *IdentificationView::makeAdvanced() {
    advanced_ = new QWidget(this);
    auto *lines = new QVBoxLayout(advanced_);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(4);
    addAddress(*lines, kAcoustIDAddress, QStringLiteral("AcoustID"), QLatin1String(kAcoustIDDefaultAddress));
    addAddress(*lines, kMusicBrainzAddress, QStringLiteral("MusicBrainz"), QLatin1String(kMusicBrainzDefaultAddress));
    addAddress(*lines, kCoverArtAddress, QStringLiteral("Cover Art Archive"), QLatin1String(kCoverArtDefaultAddress));
    advanced_->hide();
    return advanced_;
}

QLineEdit *IdentificationView::addAddress(QBoxLayout &lines, const char *key, const QString &title,
                                          const QString &placeholder) {
    auto *field = new SketchedField(this);
    field->setPlaceholderText(placeholder);
    field->setAccessibleName(title);
    auto *label = new QLabel(title, this);
    label->setFont(lookFont(kListPixels));
    label->setFixedWidth(kTitleWidth);
    label->setBuddy(field);
    auto *line = new QHBoxLayout;
    line->addWidget(label);
    line->addWidget(field, 1);
    lines.addLayout(line);
    connect(field, &QLineEdit::textChanged, this, &IdentificationView::validate);
    entries_.push_back({key, field});
    return field;
}

QLayout *IdentificationView::makeBottom() {
    lblTrouble_ = textLabel({}, QPalette::WindowText, kTextWidth, this);
    auto *resetBtn = new SketchedPushButton(localizedString("Reset"), /*isDefault=*/false, this);
    auto *cancel = new SketchedPushButton(localizedString("Cancel"), /*isDefault=*/false, this);
    saveBtn_ = new SketchedPushButton(localizedString("Save"), /*isDefault=*/true, this);
    for (QPushButton *button : {static_cast<QPushButton *>(resetBtn), static_cast<QPushButton *>(cancel)})
        button->setAutoDefault(false);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(4);
    buttons->addWidget(resetBtn);
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(saveBtn_);
    auto *lines = new QVBoxLayout;
    lines->setSpacing(6);
    lines->addWidget(lblTrouble_);
    lines->addLayout(buttons);
    connect(resetBtn, &QPushButton::clicked, this, &IdentificationView::reset);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(saveBtn_, &QPushButton::clicked, this, &IdentificationView::save);
    return lines;
}

// What is set

void IdentificationView::load() {
    const RecognitionSettings settings = RecognitionSettings::ofUserDefaults();
    btnPlayers_->setChecked(settings.fromPlayers);
    btnLibrary_->setChecked(settings.fromLibrary);
    btnOnline_->setChecked(settings.online);
    hasOwnKey_ = storedText(kAcoustIDKey).isEmpty() && !settings.acoustIDKey.isEmpty();
    keyField_->setPlaceholderText(hasOwnKey_ ? localizedString("the program's own") : QString());
    for (const auto &[key, field] : entries_)
        field->setText(storedText(key));
    // An address that differs from the usual one shall not be overlooked.
    advancedBtn_->setChecked(std::ranges::any_of(
        entries_, [this](const Entry &entry) { return entry.field != keyField_ && !textOf(*entry.field).isEmpty(); }));
    validate();
}

void IdentificationView::reset() {
    btnPlayers_->setChecked(true);
    btnLibrary_->setChecked(true);
    btnOnline_->setChecked(false);
    for (const auto &[key, field] : entries_)
        field->clear();
}

void IdentificationView::setAdvancedShown(bool isShown) { advanced_->setVisible(isShown); }

bool IdentificationView::isAddress(const QString &address) {
    const QUrl url(address, QUrl::StrictMode);
    return url.isValid() && (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http")) &&
           !url.host().isEmpty() && url.userInfo().isEmpty() && !url.hasQuery() && !url.hasFragment();
}

void IdentificationView::validate() {
    QString trouble;
    for (const auto &[key, field] : entries_)
        if (const QString text = textOf(*field); field != keyField_ && !text.isEmpty() && !isAddress(text))
            trouble = localizedString("The address of %1 has to begin with https:// or http://, and to name a server.")
                          .arg(field->accessibleName());
    lblTrouble_->setText(trouble);
    lblTrouble_->setVisible(!trouble.isEmpty());
    saveBtn_->setEnabled(trouble.isEmpty());
    saveBtn_->setAccessibleDescription(trouble);
    lblKey_->setText(troubleOfKey());
    lblKey_->setVisible(!lblKey_->text().isEmpty());
    keyField_->setAccessibleDescription(lblKey_->text());
}

QString IdentificationView::troubleOfKey() const {
    const QString entry = textOf(*keyField_);
    if (entry.isEmpty() && !hasOwnKey_)
        return localizedString("Off without a key. AcoustID gives one to everybody.");
    const QString key = entry.isEmpty() ? RecognitionSettings::ofUserDefaults().acoustIDKey : entry;
    return key == RecognitionSettings::refusedKey() ? localizedString("AcoustID does not know this key.") : QString();
}

void IdentificationView::save() {
    const RecognitionSettings before = RecognitionSettings::ofUserDefaults();
    defaults().setBool(btnPlayers_->isChecked(), kIdentifyFromPlayers);
    defaults().setBool(btnLibrary_->isChecked(), kIdentifyFromLibrary);
    // Who has not decided yet is still to be asked.
    if (btnOnline_->isChecked() != before.online)
        defaults().setBool(btnOnline_->isChecked(), kIdentifyOnline);
    for (const auto &[key, field] : entries_)
        storeText(textOf(*field), key);
    RecognitionSettings::refresh();
    RecognitionSettings::setRefusedKey({}); // it is tried again
    emit settingsDidChange();
    accept();
}

void IdentificationView::paintEvent(QPaintEvent *) { QPainter(this).fillRect(rect(), lookColour(LookColour::Paper)); }
