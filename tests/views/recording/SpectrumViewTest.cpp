// The bars in the toolbar: where they stand, what they show, when they rest.
#include "views/recording/SpectrumView.h"
#include "views/controls/SightWatch.h"

#include <gtest/gtest.h>

namespace {

struct Columns final : SpectrumViewDataSource {
    QList<int> values = QList<int>(20);
    int numberOfColumnsInSpectrumView(SpectrumView &) override { return static_cast<int>(values.size()); }
    int objectValueForColumnIndex(SpectrumView &, int index) override { return values.at(index); }
};

} // namespace

TEST(SpectrumView, MirrorsItsColumnsAroundTheMiddle) {
    QWidget window;
    SpectrumView view(&window);
    window.show();
    // The first as in the toolbar; in those below 164 the outer ones are cut off.
    for (const auto &[width, columnWidth, gap, shown] : {std::tuple{230, 5, 4, 20},
                                                         {168, 4, 4, 20},
                                                         {166, 4, 3, 20},
                                                         {164, 4, 2, 20},
                                                         {163, 4, 2, 19},
                                                         {90, 4, 2, 10},
                                                         {3, 4, 2, 0},
                                                         {1000, 24, 4, 20}}) {
        SCOPED_TRACE(width);
        view.resize(width, 33);
        const int half = width / 2;
        for (int i = 0; i < 20; ++i) {
            const QRect left = view.energyLeftArray()[static_cast<size_t>(i)].frame();
            const QRect right = view.energyRightArray()[static_cast<size_t>(i)].frame();
            EXPECT_EQ(left, i < shown ? QRect(half - gap - (i + 1) * columnWidth, 0, columnWidth - 1, 33) : QRect());
            EXPECT_TRUE(right.isEmpty() || right == QRect(columnWidth * i + half + gap, 0, columnWidth - 1, 33));
            EXPECT_LE(right.x() + right.width(), width);
        }
        EXPECT_FALSE(view.grab().isNull());
    }
}

TEST(SpectrumView, TheHighestColumnStandsInTheMiddle) {
    SpectrumView view(/*parent=*/nullptr);
    view.reloadData(); // nobody to ask
    Columns columns;
    for (int i = 0; i < 20; ++i)
        columns.values[i] = i - 3;
    view.setDataSource(&columns);
    view.resize(230, 33);
    view.reloadData();
    for (size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(view.energyLeftArray()[i].energy(), static_cast<uint32_t>(qMax(16 - static_cast<int>(i), 0)));
        EXPECT_EQ(view.energyRightArray()[i].energy(), view.energyLeftArray()[i].energy());
    }
    columns.values.resize(18);
    view.reloadData();
    EXPECT_EQ(view.energyLeftArray()[0].energy(), 0U);
}

TEST(SightWatch, TellsWhenAWidgetComesIntoSight) {
    QWidget window;
    QWidget page(&window);
    auto *inner = new QWidget(&page);
    const SightWatch watch(*inner);
    QList<bool> told;
    QObject::connect(&watch, &SightWatch::changed, &watch, [&] { told << watch.isInSight(); });
    window.show();
    page.hide();
    window.hide();
    page.show(); // in a hidden window
    window.show();
    EXPECT_EQ(told, QList<bool>({true, false, true}));
}
