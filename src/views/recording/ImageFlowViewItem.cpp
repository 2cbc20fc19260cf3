#include "views/recording/ImageFlowViewItem.h"

#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "views/controls/Look.h"
#include "views/controls/OneLine.h"
#include "views/controls/Sketch.h"
#include "views/controls/SketchButton.h"
#include "views/recording/MicrophoneView.h"

#include <QAccessibleWidget>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace {

constexpr QRect kHighLight(3, 1, 104, 121);
constexpr QRect kCoverBox(13, 6, 84, 84); // with the frame, which covers the edges of the picture
constexpr QRect kTitle(6, 91, 98, 15);
constexpr QRect kSubTitle(6, 106, 98, 13);

// In the cover box
constexpr QRect kImage(QPoint(2, 2), ImageFlowViewItem::kImageSize);
constexpr QRect kWaitTitle(2, 52, 80, 16);
constexpr QPoint kProgress(26, 17);
constexpr QSize kProgressSize(32, 32);
constexpr QSize kID3Button(68, 22);
constexpr int kID3ButtonTop = 57;
constexpr QPoint kDone(72, 72); // the middle of the sign that the track has been identified

constexpr QSize kViewButton(22, 22);
constexpr QPoint kViewButtonMiddle(93, 14);
constexpr qreal kImageRadius = 8;
constexpr int kWordPixels = 10;
constexpr float kVeil = 0.78F; // what the cover is dimmed by while the wheel turns

/// A drawing with a word on it.
class WordButton : public SketchButton {
public:
    using SketchButton::SketchButton;

protected:
    void paintEvent(QPaintEvent *event) override {
        SketchButton::paintEvent(event);
        QPainter painter(this);
        painter.setFont(lookFont(kWordPixels, QFont::Medium));
        painter.setPen(lookColour(isEnabled() ? LookColour::Ink : LookColour::Soft));
        painter.drawText(rect(), Qt::AlignCenter, accessibleName());
    }
};

SketchImages recordImages(const QString &stem) {
    return {.rest = stem + QStringLiteral("_def"),
            .hover = stem + QStringLiteral("_def"),
            .pressed = stem + QStringLiteral("_down"),
            .disabled = {}};
}

SketchImages identifyImages() { return recordImages(QStringLiteral("idenifyForRecord")); }
SketchImages waitingImages() { return recordImages(QStringLiteral("waitingForRecord")); }

SketchImages viewImages() {
    return {.rest = QStringLiteral("view"),
            .hover = QStringLiteral("view-high"),
            .pressed = QStringLiteral("view-sel"),
            .disabled = {}};
}

void drawDone(QPainter &painter, const QPointF &middle) {
    painter.setPen(sketchPen(lookColour(LookColour::Sheet), 1.4));
    painter.setBrush(lookColour(LookColour::Teal));
    painter.drawEllipse(middle, 8.4, 8);
    painter.setPen(sketchPen(lookColour(LookColour::Sheet), 1.8));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(QPolygonF{middle + QPointF(-3.6, 0.3), middle + QPointF(-0.9, 3), middle + QPointF(4, -3.4)});
}

/// A row of the list that the strip is.
class FlowItemAccessible : public QAccessibleWidget {
public:
    explicit FlowItemAccessible(FlowItemView *view) : QAccessibleWidget(view, QAccessible::ListItem) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        const ImageFlowViewItem *item = owner();
        state.selectable = true;
        state.selected = item && item->isHighLight();
        return state;
    }
    QStringList actionNames() const override { return QStringList(pressAction()) + QAccessibleWidget::actionNames(); }
    void doAction(const QString &actionName) override {
        if (actionName != pressAction())
            QAccessibleWidget::doAction(actionName);
        else if (owner())
            owner()->viewButton()->animateClick(); // and answers before whatever the press leads to
    }

private:
    ImageFlowViewItem *owner() const { return static_cast<FlowItemView *>(widget())->owner(); }
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    auto *view = qobject_cast<FlowItemView *>(object);
    return view ? new FlowItemAccessible(view) : nullptr;
}

} // namespace

// The view

FlowItemView::FlowItemView(ImageFlowViewItem &owner) : QWidget(nullptr), owner_(&owner) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    setGeometry(ImageFlowViewItem::kFrame);
    setFocusPolicy(Qt::ClickFocus);
}

void FlowItemView::paintEvent(QPaintEvent *) {
    if (!owner_)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (owner_->isHighLight())
        painter.drawPixmap(kHighLight.topLeft(),
                           imageNamed(QStringLiteral("select.png"), kHighLight.size(), devicePixelRatioF()));
    drawCover(painter);
    drawLines(painter);
    if (keyboardFocus_.isShown()) {
        painter.setPen(sketchPen(lookColour(LookColour::Teal), 1.4));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(sketchedRect(QRectF(kHighLight).adjusted(-2.2, -0.6, 2.2, 1.8), 12));
    }
}

void FlowItemView::drawCover(QPainter &painter) const {
    const QRect place = kImage.translated(kCoverBox.topLeft());
    QPainterPath edge;
    edge.addRoundedRect(place, kImageRadius, kImageRadius);
    painter.save();
    painter.setClipPath(edge);
    painter.fillRect(place, lookColour(LookColour::Paper2));
    if (!owner_->imageName().isNull()) {
        painter.drawPixmap(place.topLeft(), imageNamed(owner_->imageName(), place.size(), devicePixelRatioF()));
    } else if (!owner_->image().isNull()) {
        const QImage &image = owner_->image();
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        QRectF fitting(QPointF(), QSizeF(image.size()) / devicePixelRatioF());
        fitting.moveCenter(QRectF(place).center());
        painter.drawImage(fitting, image);
    }
    const QString waitTitle = owner_->waitTitle();
    if (!waitTitle.isNull()) {
        QColor veil = lookColour(LookColour::Paper);
        veil.setAlphaF(kVeil);
        painter.fillRect(place, veil);
        painter.setFont(lookFont(kWordPixels, QFont::Medium));
        painter.setPen(lookColour(LookColour::Ink));
        painter.drawText(kWaitTitle.translated(kCoverBox.topLeft()), Qt::AlignCenter, waitTitle);
    }
    painter.restore();
    painter.drawPixmap(kCoverBox.topLeft(),
                       imageNamed(QStringLiteral("Filter.png"), kCoverBox.size(), devicePixelRatioF()));
    if (owner_->status() == static_cast<int32_t>(ID3Status::Identified))
        drawDone(painter, kDone + kCoverBox.topLeft());
}

void FlowItemView::drawLines(QPainter &painter) const {
    const auto draw = [&painter](const QRect &place, const QString &text, const QFont &font, LookColour colour) {
        painter.setFont(font);
        painter.setPen(lookColour(colour));
        painter.drawText(place, Qt::AlignCenter, elidedLine(text, QFontMetrics(font), Qt::ElideRight, place.width()));
    };
    draw(kTitle, owner_->title(), lookFont(kListPixels, QFont::DemiBold), LookColour::Ink);
    draw(kSubTitle, owner_->subTitle(), lookFont(kSecondLinePixels), LookColour::Soft);
}

// The lines may be shortened. A tool tip takes what looks like HTML for HTML, so it is given some.
bool FlowItemView::event(QEvent *event) {
    if (event->type() != QEvent::ToolTip || !owner_)
        return QWidget::event(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    QToolTip::showText(help->globalPos(),
                       QStringLiteral("<span>%1<br/>%2</span>")
                           .arg(owner_->title().toHtmlEscaped(), owner_->subTitle().toHtmlEscaped()),
                       this);
    return true;
}

void FlowItemView::mousePressEvent(QMouseEvent *event) {
    keyboardFocus_.mousePressed();
    if (owner_ && event->button() == Qt::LeftButton)
        owner_->mouseDown(mapTo(window(), event->pos()));
}

void FlowItemView::mouseDoubleClickEvent(QMouseEvent *event) {
    if (owner_ && event->button() == Qt::LeftButton)
        owner_->doubleClicked(mapTo(window(), event->pos()));
}

void FlowItemView::focusInEvent(QFocusEvent *event) {
    keyboardFocus_.focusIn(*event);
    update();
    const bool isByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (isByKey && owner_)
        owner_->didFocus();
}

void FlowItemView::focusOutEvent(QFocusEvent *event) {
    keyboardFocus_.focusOut(*event);
    update();
}

// The item

ImageFlowViewItem::ImageFlowViewItem()
    : view_(new FlowItemView(*this)),
      coverContainer_(new QWidget(view_)),
      viewButton_(new SketchButton(viewImages(), kViewButton, localizedString("View in Library"), view_)),
      id3Button_(new WordButton(identifyImages(), kID3Button, localizedString("Identify"), coverContainer_)),
      progress_(new ProgressView(coverContainer_)) {
    coverContainer_->setGeometry(kCoverBox);
    id3Button_->setFrameRadius(8);
    id3Button_->move((kCoverBox.width() - id3Button_->width()) / 2, kID3ButtonTop - SketchButton::kFocusMargin);
    progress_->setGeometry(QRect(kProgress, kProgressSize));
    progress_->hide();
    viewButton_->setToolTip(localizedString("View in Library"));
    viewButton_->move(kViewButtonMiddle - QPoint(viewButton_->width(), viewButton_->height()) / 2);
    QObject::connect(viewButton_, &SketchButton::clicked, view_, [view = view_.data()] {
        if (view->owner())
            view->owner()->viewButtonClicked();
    });
    QObject::connect(id3Button_, &SketchButton::clicked, view_, [view = view_.data()] {
        if (view->owner())
            view->owner()->id3ButtonClicked();
    });
    setIsTabStop(/*isTabStop=*/false);
}

// What a click led to may have removed the item, and the view is still in the midst of it.
ImageFlowViewItem::~ImageFlowViewItem() {
    if (!view_)
        return;
    view_->forgetOwner();
    view_->hide();
    view_->deleteLater();
}

void ImageFlowViewItem::setTitle(const QString &title) {
    title_ = oneLine(title);
    tellScreenReader();
}

void ImageFlowViewItem::setSubTitle(const QString &subTitle) {
    subTitle_ = oneLine(subTitle);
    tellScreenReader();
}

void ImageFlowViewItem::setImageNamed(const QString &name) {
    imageName_ = name;
    image_ = {};
    view_->update();
}

void ImageFlowViewItem::setImage(const QImage &image) {
    imageName_ = {};
    image_ = image;
    view_->update();
}

void ImageFlowViewItem::setStatus(int32_t status) {
    status_ = status;
    switch (static_cast<ID3Status>(status)) {
    case ID3Status::NotAsked:
        id3Button_->setImages(identifyImages(), localizedString("Identify"));
        // Given up while it waited, the track can be asked for again.
        showID3Button(!hasIdentifyed_ && delegate_ && delegate_->canIdentify(), /*isEnabled=*/true);
        progress_->hide();
        break;
    case ID3Status::Waiting:
        hasIdentifyed_ = false;
        id3Button_->setImages(waitingImages(), localizedString("Waiting"));
        showID3Button(/*isShown=*/true, /*isEnabled=*/false);
        progress_->hide();
        break;
    case ID3Status::Searching:
    case ID3Status::FetchingCover:
        showID3Button(/*isShown=*/false, /*isEnabled=*/false);
        progress_->show();
        break;
    case ID3Status::NotFound:
    case ID3Status::Identified:
        hasIdentifyed_ = true;
        showID3Button(/*isShown=*/false, /*isEnabled=*/true);
        progress_->hide();
        break;
    case ID3Status::Reserved:
        showID3Button(/*isShown=*/false, /*isEnabled=*/true);
        progress_->show();
        break;
    }
    if (progress_->isHidden())
        progress_->stopAnimation();
    else
        progress_->startAnimation();
    tellScreenReader();
}

void ImageFlowViewItem::showID3Button(bool isShown, bool isEnabled) {
    if (!isShown && id3Button_->hasFocus())
        view_->setFocus();
    id3Button_->setVisible(isShown);
    id3Button_->setEnabled(isEnabled);
}

QString ImageFlowViewItem::waitTitle() const {
    return progress_->isHidden() ? QString() : localizedString("Identifying...");
}

void ImageFlowViewItem::tellScreenReader() {
    QStringList parts{title_, subTitle_, waitTitle()};
    switch (static_cast<ID3Status>(status_)) {
    case ID3Status::Waiting:
        parts << localizedString("Waiting");
        break;
    case ID3Status::NotFound:
        parts << localizedString("Not identified");
        break;
    case ID3Status::Identified:
        parts << localizedString("Identified");
        break;
    default:
        break;
    }
    parts.removeAll(QString());
    view_->setAccessibleName(parts.join(QStringLiteral(", ")));
    for (SketchButton *button : {viewButton_, id3Button_})
        button->setAccessibleDescription(title_);
    view_->update();
}

void ImageFlowViewItem::setHighLight(bool isHighLight) {
    isHighLight_ = isHighLight;
    view_->update();
}

void ImageFlowViewItem::setIsTabStop(bool isTabStop) {
    view_->setFocusPolicy(isTabStop ? Qt::StrongFocus : Qt::ClickFocus);
    for (SketchButton *button : {viewButton_, id3Button_})
        button->setFocusPolicy(isTabStop ? Qt::TabFocus : Qt::NoFocus);
}

bool ImageFlowViewItem::hitTest(const QPoint &point) const {
    const QPoint inView = view_->mapFrom(view_->window(), point);
    const QPoint inCover = coverContainer_->mapFrom(view_, inView);
    return kTitle.contains(inView) || kSubTitle.contains(inView) || kImage.contains(inCover) ||
           kWaitTitle.contains(inCover) || (isHighLight_ && kHighLight.contains(inView));
}

void ImageFlowViewItem::mouseDown(const QPoint &event) {
    if (delegate_)
        delegate_->flowItemMouseDown(*this, event);
}

void ImageFlowViewItem::doubleClicked(const QPoint &event) {
    if (delegate_)
        delegate_->flowItemDoubleClicked(*this, event);
}

void ImageFlowViewItem::didFocus() {
    if (delegate_)
        delegate_->flowItemDidFocus(*this);
}

void ImageFlowViewItem::viewButtonClicked() {
    setStatus(status_);
    if (delegate_)
        delegate_->flowItemButtonClicked(*this);
}

void ImageFlowViewItem::id3ButtonClicked() {
    if (delegate_)
        delegate_->flowItemID3ButtonClicked(*this);
}
