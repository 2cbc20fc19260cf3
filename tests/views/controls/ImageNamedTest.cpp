// Pictures by name, and the look's colours in them.
#include "platform/desktop/ImageNamed.h"
#include "support/MadePictures.h"
#include "views/controls/Look.h"

#include <gtest/gtest.h>

namespace {

constexpr LookColour kAll[] = {LookColour::Paper, LookColour::Paper2, LookColour::Sheet, LookColour::Ink,
                               LookColour::Soft,  LookColour::Line,   LookColour::Teal,  LookColour::Red};

} // namespace

TEST(ImageNamed, FindsNamesWithAndWithoutEndingAtEveryScale) {
    for (const auto &[name, size, scale, pixels] : {
             std::tuple<const char *, QSize, double, QSize>{"Recorder", {}, 1, {56, 56}},
             {"Recorder.png", {}, 2, {112, 112}},
             {"BoxBackground.svg", {368, 66}, 1.5, {552, 99}},
             {"default_coverImage", {98, 82}, 3, {294, 246}},
             {"no such picture", {10, 10}, 1, {0, 0}},
         }) {
        EXPECT_EQ(imageNamed(name, size, scale).size(), pixels) << name;
        EXPECT_EQ(isImageNamed(name), !pixels.isEmpty()) << name;
    }
}

TEST(ImageNamed, DarkPicturesKeepNoColourOfTheLightPalette) {
    Look::shared().setAppearance(Appearance::Light);
    QSet<QRgb> light;
    for (const LookColour colour : kAll)
        light.insert(lookColour(colour).rgb());
    for (const char *name : {"Recorder", "Recorder_Stop_Down", "cut", "menu", "view", "BoxBackground"}) {
        Look::shared().setAppearance(Appearance::Light);
        EXPECT_TRUE(opaqueColours(imageNamed(name)).intersects(light)) << name;
        Look::shared().setAppearance(Appearance::Dark);
        EXPECT_FALSE(opaqueColours(imageNamed(name)).intersects(light)) << name;
    }
}
