#include "library/FilterAdsController.h"

#include "demo/RunningProgram.h"
#include "platform/desktop/Panel.h"
#include "platform/run/UserDefaults.h"
#include "support/Gestures.h"
#include "support/KeptLog.h"
#include "support/Songs.h"
#include "views/dialogs/FilterTable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <gtest/gtest.h>

namespace {

/// The window over a list that stands for the library.
struct Filter : testing::Test, FilterAdsControllerDelegate {
    struct Track {
        const char *title;
        const char *artist = "A";
        qint64 length = 20'000;
        bool isAds = true;
    };
    void SetUp() override {
        setPanelAnswerer([this](const Panel &panel) { return asked << panel.message, PanelAnswer{.button = answer}; });
        UserDefaults::standardUserDefaults().registerDefaults(
            {{"AutoFilterMusic", true}, {"AutoFilterTimeInterval", 5}});
    }
    void deleteShortFiles() override {
        asksToDelete << QString("short up to %1").arg(controller->getCurrentFilterType());
    }
    void deleteDuplicateFiles() override {
        for (const SongPtr &song : songs)
            if (song->deleteForDuplicate())
                asksToDelete << song->title() + (song->isImported() ? " imported" : "");
    }
    SongArray undoDeletion() override { return back; }
    bool canUndoDeletion() const override { return canUndo; }
    bool playSong(const SongPtr &song) override { return played << song->title(), hasFile; }

    void open(const QList<Track> &tracks) {
        songs.clear();
        for (const auto &[title, artist, length, isAds] : tracks) {
            const auto number = static_cast<int32_t>(songs.size() + 1);
            songs.append(songWith({.title = title, .artist = artist, .length = length, .id = number}));
            songs.last()->setSize(1'000'000);
            songs.last()->setIsAds(isAds);
        }
        controller.emplace(*this);
        controller->setAdverts(songs);
        controller->setCategoryName("All Music");
        controller->runModal(&window);
    }
    FilterView &view() { return *controller->view(); }
    FilterTable &table() { return *view().table(view().tab()); }
    void search() {
        view().selectTab(FilterTab::Duplicate);
        finishSearch();
    }
    /// The table stands in place of the sign that turns.
    void finishSearch() {
        ASSERT_TRUE(waitUntil([this] { return table().isVisible(); }));
    }
    /// The one whose text, or name for those who hear it, is `name`.
    template <class Control>
    Control *control(const QString &name, const char *property) {
        for (auto *control : view().findChildren<Control *>())
            if (control->property(property) == name)
                return control;
        return nullptr;
    }
    QPushButton &button(const QString &title) { return buttonOf(view(), title); }
    QComboBox &choice(const QString &name) { return *control<QComboBox>(name, "accessibleName"); }
    bool isSaying(const QString &text) { return control<QLabel>(text, "text"); }
    /// The rows, with what becomes of each.
    QStringList rows() {
        QStringList shown;
        for (const FilterAdsItemPtr &item : table().rows())
            shown << (item->isKept(table().tab()) ? "+" : "-") + item->title();
        return shown;
    }
    void key(int row, Qt::Key key) {
        table().setCurrentIndex(table().model()->index(row, 1));
        press(table(), key);
    }

    QWidget window;
    SongArray songs, back;
    KeptLog log;
    QStringList asked, asksToDelete, played;
    int answer = 0;
    bool hasFile = true, canUndo = false;
    std::optional<FilterAdsController> controller;
};

} // namespace

TEST_F(Filter, ShowsTracksUpToTheLengthAndRemembersWhatTheUserKept) {
    open({{"20", "A", 20'000}, {"20.001", "A", 20'001}, {"60", "A", 60'000, /*isAds=*/false}, {"60.001", "A", 60'001}});
    EXPECT_EQ(rows(), QStringList("-20"));
    QComboBox &lengths = choice("Length of the tracks shown");
    lengths.setCurrentIndex(4);
    EXPECT_EQ(rows(), QStringList({"-20", "-20.001", "+60"}));
    EXPECT_TRUE(isSaying("2 tracks go, 2.0 MB."));
    key(1, Qt::Key_Delete);
    lengths.setCurrentIndex(0);
    EXPECT_FALSE(button("Remove").isEnabled()); // nothing is shown
    lengths.setCurrentIndex(1);
    button("Remove").click();
    EXPECT_EQ(asksToDelete, QStringList("short up to 20000"));
    EXPECT_TRUE(asked.isEmpty());
    EXPECT_TRUE(rows().isEmpty());
    QList<bool> marks; // of rows above the length, too
    for (const SongPtr &song : songs)
        marks << song->isAds();
    EXPECT_EQ(marks, QList<bool>({true, false, false, true}));
}

TEST_F(Filter, ProposesToKeepTheLongestOfEachSong) {
    open({{"Song", "A", 180'000},
          {"song", "A", 1},
          {"Song", "A", 200'000},
          {"Zoo", "A", 50'000},
          {"Song", "A", 180'000},
          {"Zoo", "A", 60'001}});
    songs[4]->setIsImported(true);
    search();
    EXPECT_EQ(rows(), QStringList({"+Zoo", "-Zoo", "+Song", "-Song", "-Song"}));
    EXPECT_TRUE(isSaying("3 tracks go, 3.0 MB. Kept: the longest of each song."));
    table().model()->setData(table().model()->index(1, 0), Qt::Checked, Qt::CheckStateRole);
    EXPECT_TRUE(isSaying("2 tracks go, 2.0 MB."));
    answer = 1;
    button("Remove").click();
    EXPECT_EQ(rows().size(), 5);
    EXPECT_TRUE(songs[4]->isImported());
    answer = 0;
    button("Remove").click();
    EXPECT_EQ(asked.last(), "2 duplicate items will be moved to the Trash.");
    EXPECT_EQ(asksToDelete, QStringList({"Song", "Song"})); // an imported file goes as well
    EXPECT_EQ(rows(), QStringList({"+Zoo", "+Zoo", "+Song"}));
    EXPECT_FALSE(button("Remove").isEnabled());
}

TEST_F(Filter, ForgetsASearchThatIsLeft) {
    open({{"Song"}, {"Song"}, {"Other"}});
    view().selectTab(FilterTab::Duplicate);
    EXPECT_FALSE(button("Remove").isEnabled());
    EXPECT_TRUE(isSaying("Scanning \"All Music\" for duplicates..."));
    view().selectTab(FilterTab::Short);
    EXPECT_TRUE(log.contains("结束duplicate线程"));
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
    EXPECT_TRUE(view().table(FilterTab::Duplicate)->rows().isEmpty());
    search();
    EXPECT_EQ(rows(), QStringList({"+Song", "-Song"}));
    // A short track that goes is no duplicate in the next search.
    view().selectTab(FilterTab::Short);
    key(1, Qt::Key_Delete);
    button("Remove").click();
    search();
    EXPECT_TRUE(rows().isEmpty());
    open({});
    search();
    EXPECT_TRUE(log.contains("There are not songs!"));
    for (const bool isClosed : {true, false}) {
        open({{"Song"}, {"Song"}});
        view().selectTab(FilterTab::Duplicate);
        isClosed ? view().reject() : controller.reset(); // in the midst of it
        QApplication::processEvents();
    }
}

TEST_F(Filter, BringsTheLastRemovalBack) {
    open({{"Song"}, {"Song"}, {"Song"}, {"Other"}});
    songs[1]->setIsImported(true);
    EXPECT_FALSE(button("Undo").isVisible());
    search();
    button("Remove").click();
    EXPECT_TRUE(isSaying("2 tracks were removed."));
    back = {songs[1]}; // the Trash has lost the other one
    button("Undo").click();
    EXPECT_TRUE(isSaying("One track can't come back."));
    EXPECT_FALSE(button("Undo").isVisible());
    EXPECT_EQ(rows(), QStringList({"+Song", "-Song"}));
    EXPECT_TRUE(songs[1]->isImported());
    EXPECT_FALSE(songs[1]->deleteForDuplicate());
    view().selectTab(FilterTab::Short);
    EXPECT_EQ(rows(), QStringList({"-Song", "-Song", "-Other"}));
    button("Remove").click();
    search();
    back = {songs[1]};
    canUndo = true;
    button("Undo").click();
    EXPECT_TRUE(isSaying("2 tracks can't come back."));
    ASSERT_TRUE(button("Undo").isVisible()) << "the library had no room";
    back = {songs[0], songs[3]};
    canUndo = false;
    button("Undo").click(); // from the other tab: the search begins anew
    EXPECT_TRUE(isSaying("2 tracks are back."));
    finishSearch();
    EXPECT_EQ(rows(), QStringList({"+Song", "-Song"}));
}

TEST_F(Filter, PlaysARowAndTellsOfAFileThatIsGone) {
    open({{"One"}, {"Two"}});
    key(1, Qt::Key_Space);
    EXPECT_EQ(played, QStringList("Two"));
    hasFile = false;
    key(0, Qt::Key_Return);
    EXPECT_TRUE(isSaying("The file of \"One\" is gone."));
    EXPECT_TRUE(asksToDelete.isEmpty()); // Enter removes nothing
}

TEST_F(Filter, SetsTheAutomaticFilter) {
    auto &defaults = UserDefaults::standardUserDefaults();
    open({});
    EXPECT_EQ(choice("Seconds").currentText(), "5");
    choice("Seconds").setCurrentIndex(60);
    view().findChild<QCheckBox *>()->click();
    EXPECT_FALSE(choice("Seconds").isEnabled() || defaults.boolForKey("AutoFilterMusic"));
    EXPECT_EQ(defaults.integerForKey("AutoFilterTimeInterval"), 60);
    // What nobody can choose is shown as the nearest choice, and stays.
    defaults.setInteger(9'000'000'000, "AutoFilterTimeInterval");
    open({});
    EXPECT_EQ(choice("Seconds").currentText(), "60");
    EXPECT_EQ(defaults.integerForKey("AutoFilterTimeInterval"), 9'000'000'000);
}
