#include "views/library/TagEditorView.h"

#include "platform/run/LocalizedString.h"
#include "views/controls/HighlightBox.h"
#include "views/controls/Look.h"
#include "views/controls/SketchButton.h"
#include "views/library/ImageBrowserView.h"
#include "views/library/TagField.h"

#include <QLabel>
#include <QVBoxLayout>

namespace {

struct Entry {
    const char *key;
    const char *title;
};

constexpr Entry kFields[] = {
    {"title", "Title"}, {"artist", "Artist"}, {"album", "Album"}, {"year", "Year"}, {"genre", "Genre"}};
constexpr Entry kValues[] = {
    {"size", "Size"}, {"date", "Date"}, {"type", "Type"}, {"bitrate", "Bit rate"}, {"samplerate", "Rate"}};

constexpr int kSideMargin = 8;
constexpr int kFirstField = 200;
constexpr int kFieldStep = 30;
constexpr int kFieldHeight = 26;
constexpr int kFirstValue = 355;
constexpr int kValueStep = 20;
constexpr int kValueTitleEnd = 58;
constexpr int kValueLeft = 68;
constexpr QSize kArrowSize(14, 22);
constexpr int kCoverNumberTop = 169;
constexpr int kBadgePixels = 10;

QLabel *addLabel(QWidget *parent, const QRect &place, Qt::Alignment alignment, int pixels, QPalette::ColorRole role) {
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(lookFont(pixels));
    label->setGeometry(place);
    label->setAlignment(alignment | Qt::AlignVCenter);
    label->setForegroundRole(role);
    return label;
}

SketchButton *addArrow(const QString &image, const char *title, int x, QWidget *parent) {
    auto *button =
        new SketchButton({image, image + "-high", image + "-sel", {}}, kArrowSize, localizedString(title), parent);
    button->setToolTip(localizedString(title));
    button->resize(button->sizeHint());
    button->move(x, (ImageBrowserLayout::kItemHeight - button->height()) / 2);
    return button;
}

} // namespace

TagEditorView::TagEditorView()
    : editorContainerView_(new QWidget(this)),
      nilObjContainerView_(addLabel(this, {}, Qt::AlignHCenter, kStatusPixels, QPalette::PlaceholderText)) {
    setMinimumWidth(kWidth);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(editorContainerView_);
    layout->addWidget(nilObjContainerView_);
    nilObjContainerView_->setWordWrap(true);
    nilObjContainerView_->setMargin(2 * kSideMargin);
    nilObjContainerView_->setText(localizedString("Select a track to see what is known of it."));

    imageBrowser = new ImageBrowserView(editorContainerView_);
    leftButton = addArrow(QStringLiteral("left"), "Previous cover", -1, editorContainerView_);
    rightButton = addArrow(QStringLiteral("right"), "Next cover", kWidth - 23, editorContainerView_);
    coverNumber_ = addLabel(editorContainerView_, {0, kCoverNumberTop, kWidth, 16}, Qt::AlignHCenter, kBadgePixels,
                            QPalette::PlaceholderText);
    coverNumber_->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *rule = new QWidget(editorContainerView_);
    rule->setGeometry(0, ImageBrowserLayout::kItemHeight, kWidth, 1);
    rule->setAutoFillBackground(true);
    rule->setBackgroundRole(QPalette::Mid);
    addFields();
    addValues();
}

void TagEditorView::addFields() {
    int y = kFirstField;
    for (const Entry &entry : kFields) {
        const QString key = QString::fromLatin1(entry.key);
        const bool isYear = key == QLatin1String("year");
        auto *field =
            new TagField(isYear ? std::make_unique<NumberFormatter>() : std::make_unique<NSStringFormatter>());
        auto *box = new HighlightBox(localizedString(entry.title), field, editorContainerView_);
        box->setGeometry(kSideMargin, y, kWidth - 2 * kSideMargin, kFieldHeight);
        fields.insert(key, field);
        boxes.insert(key, box);
        y += kFieldStep;
    }
}

void TagEditorView::addValues() {
    int y = kFirstValue;
    for (const Entry &entry : kValues) {
        QLabel *title = addLabel(editorContainerView_, {0, y, kValueTitleEnd, kValueStep}, Qt::AlignRight,
                                 kSecondLinePixels, QPalette::PlaceholderText);
        title->setText(localizedString(entry.title));
        QLabel *value = addLabel(editorContainerView_, {kValueLeft, y, kWidth - kValueLeft, kValueStep}, Qt::AlignLeft,
                                 kSecondLinePixels, QPalette::WindowText);
        value->setAccessibleDescription(localizedString(entry.title));
        values.insert(QString::fromLatin1(entry.key), value);
        y += kValueStep;
    }
}

void TagEditorView::showsTrack(bool isTrack) {
    editorContainerView_->setVisible(isTrack);
    nilObjContainerView_->setVisible(!isTrack);
}

void TagEditorView::setCoverNumber(const QString &number) { coverNumber_->setText(number); }
