// Pictures by name, and the look's colours in them.
#include "platform/desktop/ImageNamed.h"
#include "views/controls/Look.h"

#include <QSet>
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

} // namespace

TEST(ImageNamed, FindsNamesWithAndWithoutEndingAtEveryScale) {
    for (const auto &[name, size, scale, pixels] : {
             std::tuple<const char *, QSize, double, QSize>{"Recorder", {}, 1, {56, 56}},
             {"Recorder.png", {}, 2, {112, 112}},
             {"BoxBackground.svg", {368, 66}, 1.5, {552, 99}},
             {"default_coverImage", {98, 82}, 3, {294, 246}},
             {"no such picture", {10, 10}, 1, {0, 0}},
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
    for (const char *name : {"Recorder", "Recorder_Stop_Down", "cut", "menu", "view", "BoxBackground"}) {
        SCOPED_TRACE(name);
        Look::shared().setAppearance(Appearance::Light);
        EXPECT_TRUE(opaqueColours(imageNamed(name)).intersects(light));
        Look::shared().setAppearance(Appearance::Dark);
        EXPECT_FALSE(opaqueColours(imageNamed(name)).intersects(light));
    }
}
