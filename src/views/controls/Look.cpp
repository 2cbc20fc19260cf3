#include "views/controls/Look.h"

#include "platform/desktop/DesktopSettings.h"
#include "platform/desktop/ImageNamed.h"

#include <QApplication>
#include <QEvent>
#include <QToolTip>
#include <array>
#include <utility>

namespace {

// In the order of LookColour.
constexpr std::array<QRgb, 9> kLight = {0xfff7f2e8, 0xffefe7d8, 0xfffffdf8, 0xff2e2a25, 0xff6f6557,
                                        0xffb9ac97, 0xff2f7d83, 0xffc8402f, 0xffc8402f};
constexpr std::array<QRgb, 9> kDark = {0xff23252a, 0xff2c2f35, 0xff33373e, 0xffece5d8, 0xffb0a899,
                                       0xff565a61, 0xff64b6bb, 0xffef6a57, 0xfff48576};
constexpr size_t kDrawnColours = 8; // RedText is for words only

} // namespace

Look &Look::shared() {
    // A child of the application: it goes before the desktop's connection does.
    static QPointer<Look> look;
    if (!look)
        look = new Look(qApp);
    return *look;
}

Look::Look(QObject *parent) : QObject(parent), desktopSettings_(new DesktopSettings(this)) {
    connect(desktopSettings_, &DesktopSettings::changed, this, &Look::refresh);
    qApp->installEventFilter(this);
    refresh();
    apply();
}

QColor Look::colour(LookColour colour) const {
    return QColor((isDark_ ? kDark : kLight).at(static_cast<size_t>(colour)));
}

void Look::setAppearance(Appearance appearance) {
    appearance_ = appearance;
    refresh();
}

void Look::dress(QWidget &window) {
    windows_.removeAll(nullptr);
    windows_.append(&window);
    window.setPalette(palette());
}

bool Look::eventFilter(QObject *watched, QEvent *event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        refresh();
    return false;
}

void Look::refresh() {
    const bool wasDark = isDark_;
    const bool wasMotionReduced = std::exchange(isMotionReduced_, desktopSettings_->isMotionReduced());
    if (appearance_ == Appearance::FollowDesktop) {
        const bool isDesktopWindowDark = QApplication::palette().color(QPalette::Window).lightness() < 128;
        isDark_ = desktopSettings_->isDark().value_or(isDesktopWindowDark);
    } else {
        isDark_ = appearance_ == Appearance::Dark;
    }
    if (isDark_ != wasDark)
        apply();
    if (isDark_ != wasDark || isMotionReduced_ != wasMotionReduced)
        emit changed();
}

void Look::apply() {
    const auto &shown = isDark_ ? kDark : kLight;
    QList<ImageColour> colours;
    for (size_t i = 0; i < kDrawnColours; ++i)
        colours.append({kLight.at(i), shown.at(i)});
    setImageColours(colours);
    QToolTip::setPalette(palette());
    windows_.removeAll(nullptr);
    for (const QPointer<QWidget> &window : std::as_const(windows_))
        window->setPalette(palette());
}

QPalette Look::palette() const {
    QPalette palette;
    const auto set = [&](QPalette::ColorRole role, LookColour shown) { palette.setColor(role, colour(shown)); };
    set(QPalette::Window, LookColour::Paper);
    set(QPalette::WindowText, LookColour::Ink);
    set(QPalette::Base, LookColour::Sheet);
    set(QPalette::AlternateBase, LookColour::Paper);
    set(QPalette::Text, LookColour::Ink);
    set(QPalette::PlaceholderText, LookColour::Soft);
    set(QPalette::Button, LookColour::Sheet);
    set(QPalette::ButtonText, LookColour::Ink);
    set(QPalette::BrightText, LookColour::Red);
    set(QPalette::Highlight, LookColour::Teal);
    palette.setColor(QPalette::HighlightedText, colour(isDark_ ? LookColour::Paper : LookColour::Sheet));
    set(QPalette::Link, LookColour::Teal);
    set(QPalette::LinkVisited, LookColour::Teal);
    set(QPalette::ToolTipBase, LookColour::Sheet);
    set(QPalette::ToolTipText, LookColour::Ink);
    set(QPalette::Light, LookColour::Sheet);
    set(QPalette::Midlight, LookColour::Paper2);
    set(QPalette::Mid, LookColour::Line);
    set(QPalette::Dark, LookColour::Line);
    set(QPalette::Shadow, LookColour::Line);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colour(LookColour::Line));
    return palette;
}

QColor lookColour(LookColour colour) { return Look::shared().colour(colour); }

QFont lookFont(int pixels, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}
