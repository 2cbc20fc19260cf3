// Pictures by name, and the look's colours in them.
#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"

#include <QSet>
#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr LookColour kAll[] = {LookColour::Paper, LookColour::Paper2, LookColour::Sheet, LookColour::Ink,
                               LookColour::Soft,  LookColour::Line,   LookColour::Teal,  LookColour::Red};

QSet<QRgb> opaqueColours(const QPixmap &pixmap) {
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) == 255)
                colours.insert(image.pixel(x, y));
    return colours;
}

// Relative luminance and contrast as the accessibility guidelines define them.
double luminance(const QColor &colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(LookColour text, LookColour ground) {
    const double a = luminance(lookColour(text)) + 0.05;
    const double b = luminance(lookColour(ground)) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

} // namespace

TEST(ImageNamed, FindsNamesWithAndWithoutEndingAtEveryScale) {
    struct Case {
        const char *name;
        QSize size;
        double scale;
        QSize pixels;
    };
    for (const auto &[name, size, scale, pixels] : {
             Case{"Recorder", {}, 1, {56, 56}},
             Case{"Recorder.png", {}, 2, {112, 112}},
             Case{"BoxBackground.svg", {368, 66}, 1.5, {552, 99}},
             Case{"default_coverImage", {98, 82}, 3, {294, 246}},
             Case{"no such picture", {10, 10}, 1, {0, 0}},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(imageNamed(name, size, scale).size(), pixels);
        EXPECT_EQ(isImageNamed(name), !pixels.isEmpty());
    }
}

TEST(ImageNamed, DarkPicturesKeepNoColourOfTheLightPalette) {
    Look::shared().setAppearance(Appearance::Light);
    QSet<QRgb> light;
    for (const LookColour colour : kAll)
        light.insert(lookColour(colour).rgb());
    for (const char *name : {"Recorder", "Recorder_Stop_Down", "cut", "menu", "card", "BoxBackground"}) {
        SCOPED_TRACE(name);
        Look::shared().setAppearance(Appearance::Light);
        EXPECT_TRUE(opaqueColours(imageNamed(name)).intersects(light));
        Look::shared().setAppearance(Appearance::Dark);
        EXPECT_FALSE(opaqueColours(imageNamed(name)).intersects(light));
    }
}

TEST(Look, TextIsReadableInBothAppearances) {
    for (const Appearance appearance : {Appearance::Light, Appearance::Dark}) {
        Look::shared().setAppearance(appearance);
        for (const LookColour ground : {LookColour::Paper, LookColour::Paper2, LookColour::Sheet})
            for (const LookColour text : {LookColour::Ink, LookColour::Soft}) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(text) << " on " << static_cast<int>(ground));
                EXPECT_GE(contrast(text, ground), 4.5);
            }
        EXPECT_GE(contrast(LookColour::RedText, LookColour::Sheet), 4.5);
    }
}
