// The sliders of the toolbar under mouse, wheel, keys, screen reader and player; the search field; the scroll bar.
#include "support/Gestures.h"
#include "support/KeptLog.h"
#include "views/controls/CustomizeScroller.h"
#include "views/controls/ElidedLabel.h"
#include "views/controls/PlaySliderBar.h"
#include "views/controls/SearchField.h"
#include "views/controls/SoundSlider.h"

#include <QAccessible>
#include <QStyleOptionSlider>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 200;

struct Ear final : SoundSliderDelegate, PlaySliderBarDelegate {
    void volumeDidChanged(float volume) override { told.append(static_cast<double>(volume)); }
    bool isCanPlay() const override { return canPlay; }
    void setPlayTime(double playTime) override { told.append(playTime); }

    QList<double> told;
    bool canPlay = true;
};

/// Along the widget.
void mouse(QWidget &widget, QEvent::Type type, double x) { ::mouse(widget, type, QPointF(x, 5)); }

void turn(QWidget &widget, int notches) {
    QWheelEvent event({5, 5}, {5, 5}, {}, {0, 120 * notches}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

struct Sliders : testing::Test {
    Sliders() {
        slider.resize(kWidth, 28);
        slider.setDelegate(&ear);
        bar.resize(kWidth, 18);
        bar.setDelegate(&ear);
        bar.setIsPlaying(true);
    }
    Ear ear;
    SoundSlider slider{/*parent=*/nullptr};
    PlaySliderBar bar{/*parent=*/nullptr};
};

} // namespace

TEST_F(Sliders, HeedsTheMouseFromZeroToAHairBeyondItsWidth) {
    slider.setVolume(0.7F);
    EXPECT_TRUE(ear.told.isEmpty());
    const auto down = QEvent::MouseButtonPress;
    const auto move = QEvent::MouseMove;
    for (const auto &[name, type, x, told, knob] : {
             std::tuple<const char *, QEvent::Type, double, QList<double>, const char *>{
                 "a press left of the bounds", down, -1, {}, "Volume_btn_sel.png"},
             {"a release", QEvent::MouseButtonRelease, -1, {}, "Volume_btn.png"},
             {"a press beyond the right limit", down, 202.5, {}, "Volume_btn_sel.png"},
             {"a press", down, 50, {0.25}, "Volume_btn_sel.png"},
             {"a press within the right limit", down, 201, {1.005}, "Volume_btn_sel.png"},
             {"a drag left of the bounds", move, -1, {}, "Volume_btn_sel.png"},
             {"a drag far to the right", move, 900, {1}, "Volume_btn_sel.png"},
             {"a drag to the left edge", move, 0, {0}, "Volume_btn_sel.png"},
             {"the end of the drag", QEvent::MouseButtonRelease, 0, {}, "Volume_btn.png"},
         }) {
        SCOPED_TRACE(name);
        ear.told.clear();
        mouse(slider, type, x);
        ASSERT_EQ(ear.told.size(), told.size());
        for (qsizetype i = 0; i < told.size(); ++i)
            EXPECT_NEAR(ear.told[i], told[i], 1e-6);
        EXPECT_EQ(slider.soundSliderBtn(), knob);
    }
}

TEST_F(Sliders, IsDeafWhileDisabledAndLetsGoOfAHeldKnob) {
    mouse(slider, QEvent::MouseButtonPress, 100);
    slider.setIsEnable(false);
    ear.told.clear();
    mouse(slider, QEvent::MouseMove, 150);
    mouse(slider, QEvent::MouseButtonPress, 20);
    press(slider, Qt::Key_End);
    turn(slider, 1);
    EXPECT_TRUE(ear.told.isEmpty());
    EXPECT_FLOAT_EQ(slider.volume(), 0.5F);
    EXPECT_EQ(slider.soundSliderBtn(), "Volume_btn.png");
}

TEST_F(Sliders, MovesByKeysWheelAndScreenReaderAndStaysWithinItsEnds) {
    using Case = std::tuple<Qt::Key, float, float>;
    for (const auto &[key, from, to] :
         {Case{Qt::Key_Right, 0.5F, 0.55F}, Case{Qt::Key_Up, 0.98F, 1}, Case{Qt::Key_Left, 0.02F, 0},
          Case{Qt::Key_PageUp, 0.5F, 0.75F}, Case{Qt::Key_PageDown, 0.5F, 0.25F}, Case{Qt::Key_Home, 0.5F, 0},
          Case{Qt::Key_End, 0.5F, 1}, Case{Qt::Key_A, 0.5F, 0.5F}}) {
        slider.setVolume(from);
        press(slider, key);
        EXPECT_FLOAT_EQ(slider.volume(), to) << "key " << key;
    }
    slider.setVolume(0.5F);
    turn(slider, -2);
    EXPECT_FLOAT_EQ(slider.volume(), 0.4F);

    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(&slider);
    ASSERT_TRUE(accessible && accessible->valueInterface());
    EXPECT_EQ(accessible->role(), QAccessible::Slider);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Volume");
    EXPECT_EQ(accessible->valueInterface()->currentValue(), 40);
    accessible->valueInterface()->setCurrentValue(250);
    EXPECT_FLOAT_EQ(slider.volume(), 1);
}

TEST_F(Sliders, TakesThePlayersReportsButTheFirstBehindADrag) {
    const KeptLog log;
    bar.setPlayTime(0); // without a length
    bar.setMaxTime(60);
    for (const auto &[time, fraction] :
         {std::pair{30.0, 0.5}, {60.05, 1.0}, {15.0, 0.25}, {-1.0, 0.25}, {60.2, 0.25}}) {
        bar.setPlayTime(time);
        EXPECT_DOUBLE_EQ(bar.fraction(), fraction) << time;
        EXPECT_DOUBLE_EQ(bar.playTime(), time);
    }
    mouse(bar, QEvent::MouseButtonPress, 20);
    bar.setPlayTime(7); // a press drops nothing
    EXPECT_DOUBLE_EQ(bar.playTime(), 7);
    mouse(bar, QEvent::MouseMove, 100);
    mouse(bar, QEvent::MouseMove, 500);
    EXPECT_EQ(ear.told, (QList<double>{6, 30, 60}));
    bar.setPlayTime(8);
    EXPECT_DOUBLE_EQ(bar.fraction(), 1);
    bar.setPlayTime(9);
    EXPECT_DOUBLE_EQ(bar.fraction(), 0.15);
    EXPECT_EQ(log, (QStringList{"drag   message  30.000000", "drag   message  60.000000", "isdraging---------"}));
}

TEST_F(Sliders, HeedsTheHandOnlyWhilePlayingWhatCanBePlayed) {
    bar.setMaxTime(60);
    bar.setDelegate(nullptr);
    mouse(bar, QEvent::MouseButtonPress, 100);
    bar.setDelegate(&ear);
    for (const auto &[isPlaying, canPlay] : {std::pair{false, true}, {true, false}}) {
        bar.setIsPlaying(isPlaying);
        ear.canPlay = canPlay;
        mouse(bar, QEvent::MouseButtonPress, 100);
        mouse(bar, QEvent::MouseMove, 120);
        press(bar, Qt::Key_Right);
        turn(bar, 1);
    }
    EXPECT_TRUE(ear.told.isEmpty());
    EXPECT_DOUBLE_EQ(bar.fraction(), 0);
}

TEST(SearchField, EscapeClearsItAndIsThenLeftToTheWindow) {
    SearchField field(/*parent=*/nullptr);
    field.setText("ferries");
    press(field, Qt::Key_Escape);
    EXPECT_TRUE(field.text().isEmpty());
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&field, &again);
    EXPECT_FALSE(again.isAccepted());
}

TEST(ElidedLabel, ShowsHostileTextAsOnePlainLine) {
    ElidedLabel label(QApplication::font(), /*parent=*/nullptr);
    label.resize(80, 16);
    label.setStringValue("<b>a</b>\n%n" + QString(QChar(0)) + QString(100'000, 'x'));
    EXPECT_TRUE(label.text().startsWith("<b>a</b> %n x"));
    EXPECT_LE(label.text().size(), 500);
    EXPECT_TRUE(label.toolTip().startsWith("<span>&lt;b&gt;a"));
    EXPECT_TRUE(label.shownText().endsWith(u'…'));
    label.setStringValue("short");
    EXPECT_EQ(label.shownText(), "short");
    EXPECT_TRUE(label.toolTip().isEmpty());
}

TEST(CustomizeScroller, PartsFillTheBarWithoutArrowsAndTheKnobStaysWithin) {
    CustomizeScroller bar(Qt::Vertical, /*parent=*/nullptr);
    bar.resize(CustomizeScroller::kThickness, 300);
    for (const int maximum : {0, 10, 1'000'000, 2'000'000'000}) {
        SCOPED_TRACE(maximum);
        bar.setMaximum(maximum);
        bar.setPageStep(100);
        bar.setValue(maximum);
        QStyleOptionSlider option;
        option.initFrom(&bar);
        option.orientation = Qt::Vertical;
        option.maximum = maximum;
        option.pageStep = 100;
        option.sliderPosition = maximum;
        const auto part = [&](QStyle::SubControl control) {
            return bar.style()->subControlRect(QStyle::CC_ScrollBar, &option, control, &bar);
        };
        const QRect knob = part(QStyle::SC_ScrollBarSlider);
        EXPECT_EQ(knob.bottom(), 299);
        EXPECT_GE(knob.height(), 40);
        EXPECT_EQ(part(QStyle::SC_ScrollBarSubPage).height(), knob.top());
        EXPECT_TRUE(part(QStyle::SC_ScrollBarAddLine).isEmpty());
    }
}
