#include "LibraryOnPage.h"
#include "demo/RunningProgram.h"
#include "platform/desktop/Panel.h"
#include "platform/run/NotificationCenter.h"
#include "support/Gestures.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"
#include "views/library/MyOutlineView.h"
#include "views/library/MyTableView.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TagField.h"
#include "views/library/TrackTableModel.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <functional>

namespace {

enum Row { kNewlyRecorded = 1, kAllMusic = 2, kUntagged = 3, kToolKit = 5 };

struct LibraryCtrTest : LibraryOnPage {
    void SetUp() override {
        setPanelAnswerer([this](const Panel &panel) {
            asked << panel.message;
            if (asked.size() < 5)
                meanwhile();
            return PanelAnswer{answer, false};
        });
    }
    void TearDown() override { library.reset(); }
    void displayStatus(const QString &text) override { status = text; }
    bool isRecording() const override { return records; }
    bool isDisplayRecordView() const override { return isRecordView; }

    /// A track that stands in the database; its file is there if `hasFile`.
    static SongPtr song(const QString &title, const QString &artist = "Somebody", bool hasFile = true) {
        const QString path = inHome(QString::number(qHash(title)) + ".mp3");
        SongPtr made = songWith({.title = title, .artist = artist, .path = path, .length = 60'000});
        made->setSize(1'000'000);
        if (hasFile)
            makeFile(path, "");
        return inserted(made);
    }
    /// A start of the program with these tracks.
    void fill(const QStringList &titles) {
        library.emplace(*this, all());
        SongArray songs;
        QDateTime date = QDateTime::currentDateTimeUtc();
        for (const QString &title : titles) {
            songs.append(song(title));
            songs.last()->setAddedDate(date = date.addSecs(-1));
        }
        library->takeTracks(TrackLists(songs));
    }
    void go(Row row) { library->categoryViewCtr().selectRow(row); }
    MyTableView &table() { return *library->listViewCtr().tableView(); }
    QStringList shown() { return titlesOf(*library->listViewCtr().songArray()); }
    void remove(const QList<int> &rows) {
        table().selectRowIndexes(rows);
        NotificationCenter::defaultCenter().postNotification("DeleteNotification");
    }
    static qsizetype rowsInDatabase() { return DataBaseManager::defaultManager().getAllSongItems()->size(); }

    KeptLog log;
    QStringList asked;
    std::function<void()> meanwhile = [] {}; ///< happens while a question stands
    int answer = 0;
    bool records = false, isRecordView = false;
    QString status;
};

} // namespace

TEST_F(LibraryCtrTest, ShowsEachCategoryFromItsFirstRow) {
    fill({"One", "Track 7", "Three"});
    EXPECT_TRUE(shown().isEmpty());
    EXPECT_FALSE(show.isEnabled());
    go(kAllMusic);
    EXPECT_EQ(shown(), QStringList({"One", "Track 7", "Three"}));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{0});
    EXPECT_EQ(status, "3 tracks, 3.0 minutes, 3.0 MB");
    EXPECT_TRUE(show.isEnabled());
    EXPECT_FALSE(handOver.isEnabled()); // nobody to hand over to
    go(kUntagged);
    EXPECT_EQ(shown(), QStringList{"Track 7"});
    EXPECT_EQ(status, "1 track, 60 seconds, 1000.0 KB");
    const QList<int> badges{library->pageControls().badgeCount(1), library->pageControls().badgeCount(2),
                            library->pageControls().badgeCount(3), library->pageControls().badgeCount(5)};
    EXPECT_EQ(badges, QList<int>({0, 3, 1, 0}));
    go(kToolKit);
    EXPECT_FALSE(show.isEnabled());
    EXPECT_TRUE(search.isHidden());
    EXPECT_EQ(status, "");
    go(kAllMusic);
    EXPECT_FALSE(search.isHidden());
}

TEST_F(LibraryCtrTest, MarksAColumnOnlyOverRowsThatItSorted) {
    fill({"Track b", "Track a", "Track c"});
    const auto clickHeader = [this](int column) { emit table().headerView()->sectionClicked(column); };
    go(kUntagged);
    EXPECT_TRUE(table().isSortShown()); // the newest first, as all tracks stand
    clickHeader(kTitleColumn);
    EXPECT_EQ(shown(), QStringList({"Track a", "Track b", "Track c"}));
    search.setText("track");
    EXPECT_FALSE(table().isSortShown());
    clickHeader(kTitleColumn);
    go(kNewlyRecorded);
    go(kUntagged);
    EXPECT_EQ(shown(), QStringList({"Track b", "Track a", "Track c"}));
    EXPECT_FALSE(table().isSortShown());
    clickHeader(kTitleColumn); // what is not marked sorts upwards
    EXPECT_EQ(shown(), QStringList({"Track a", "Track b", "Track c"}));
    go(kAllMusic);
    EXPECT_TRUE(table().isSortShown());
    go(kUntagged);
    EXPECT_TRUE(table().isSortShown());
}

TEST_F(LibraryCtrTest, KeepsTheSelectionWhenARecordingArrives) {
    fill({"One", "Two", "Three"});
    go(kAllMusic);
    library->addNewRecordingSong(song("Zero"));
    EXPECT_EQ(shown(), QStringList({"Zero", "One", "Two", "Three"}));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{1});
    // The rows are counted on even where the new track is not among those shown.
    fill({"Track 1", "Track 2"});
    go(kUntagged);
    table().selectRowIndexes({0});
    library->addNewRecordingSong(song("Tagged"));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{1});
    // While a text is looked for, only the counts change.
    go(kAllMusic);
    search.setText("track");
    table().selectRowIndexes({1});
    library->addNewRecordingSong(song("Track 3"));
    EXPECT_EQ(shown(), QStringList({"Track 1", "Track 2"}));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{1});
    EXPECT_EQ(library->pageControls().badgeCount(kUntagged), 3);
    search.clear();
    EXPECT_EQ(shown().size(), 4);
}

TEST_F(LibraryCtrTest, SelectsTheFirstRecordingOfAnEmptyListAndGoesToIt) {
    const SongPtr first = song("First");
    library->addNewRecordingSong(first);
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{0});
    library->addNewRecordingSong(song("Second"));
    go(kAllMusic);
    library->showNewRecordItem(first, /*isPlay=*/false);
    EXPECT_EQ(library->category(), "Newly Recorded");
    EXPECT_EQ(library->getSelectedItem(), first);
}

TEST_F(LibraryCtrTest, SearchesWithinTheCategory) {
    fill({"Café", "Other"});
    go(kAllMusic);
    using Case = std::pair<const char *, QStringList>;
    for (const auto &[text, found] :
         {Case{" \t", shown()}, Case{"CAFE", {"Café"}}, Case{"SOMEBODY", shown()}, Case{"nowhere", {}}}) {
        SCOPED_TRACE(text);
        search.setText(text);
        EXPECT_EQ(shown(), found);
        EXPECT_EQ(show.isEnabled(), !found.isEmpty());
        EXPECT_EQ(status.isEmpty(), found.isEmpty());
    }
    go(kNewlyRecorded);
    EXPECT_TRUE(search.text().isEmpty());
    isRecordView = true;
    search.setText("cafe");
    EXPECT_EQ(status, ""); // the recording page tells of its own tracks
}

TEST_F(LibraryCtrTest, ShowsWhatADropBringsInAllMusic) {
    fill({"One", "Track 7"});
    const auto drop = [this](const QString &path) {
        NotificationCenter::defaultCenter().postNotification("HasImportedFiles", QStringList{path});
        EXPECT_EQ(library->category(), "All Music");
        EXPECT_TRUE(waitUntil([this] { return !library->importCtr().isImporting(); }));
    };
    go(kAllMusic);
    library->editCtr().changeID3Edit();
    drop(makeTone("a.mp3", "-metadata title=New"));
    EXPECT_EQ(shown(), QStringList({"New", "One", "Track 7"}));
    EXPECT_EQ(library->editCtr().id3ViewCtr().songItem(), library->getSelectedItem());
    EXPECT_TRUE(library->listViewCtr().sortArray().isEmpty());
    EXPECT_TRUE(status.startsWith("3 tracks"));
    EXPECT_EQ(library->pageControls().badgeCount(kNewlyRecorded), 0);
    // What a search has found stays; the counts follow.
    search.setText("track");
    drop(makeTone("b.mp3", "-metadata title=Newer"));
    EXPECT_EQ(shown(), QStringList({"Track 7"}));
    EXPECT_EQ(library->pageControls().badgeCount(kAllMusic), 4);
    search.clear();
    EXPECT_EQ(shown().first(), "Newer");
}

TEST_F(LibraryCtrTest, DeletesWhatIsSelected) {
    fill({"One", "Two", "Three"});
    go(kAllMusic);
    (*library->listViewCtr().songArray())[1]->setIsImported(true);
    const QString recorded = (*library->listViewCtr().songArray())[2]->songPath();
    const QString kept = (*library->listViewCtr().songArray())[1]->songPath();
    answer = 1;
    remove({2});
    EXPECT_EQ(shown().size(), 3);
    answer = 0;
    remove({2});
    EXPECT_TRUE(asked.last().startsWith("Do you want to move these items"))
        << qPrintable(asked.join("; ")) << qPrintable(log.join("; "));
    EXPECT_FALSE(QFile::exists(recorded));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{1}); // the last row now
    search.setText("two");
    remove({0});
    EXPECT_TRUE(shown().isEmpty());
    EXPECT_TRUE(QFile::exists(kept)); // somebody else's file
    search.clear();
    EXPECT_EQ(shown(), QStringList{"One"});
    EXPECT_EQ(rowsInDatabase(), 1);
    remove({});
    EXPECT_EQ(shown().size(), 1);
    remove({0});
    EXPECT_EQ(library->getSelectedItem(), nullptr);
    EXPECT_EQ(library->pageControls().badgeCount(kAllMusic), 0);
}

TEST_F(LibraryCtrTest, AsksOnceForAFileThatIsGone) {
    library->takeTracks(TrackLists({song("Gone", "Somebody", /*hasFile=*/false)}));
    go(kAllMusic);
    meanwhile = [this] { library->playCtr().play(); };
    answer = 1;
    library->playCtr().play();
    EXPECT_EQ(asked, QStringList{"File does not exist."});
}

TEST_F(LibraryCtrTest, LeavesTheTracksAloneWhileTheKeyboardIsInATextAndBehindTheTools) {
    fill({"One"});
    go(kAllMusic);
    search.show();
    search.activateWindow();
    search.setFocus();
    library->deleteItems();
    EXPECT_TRUE(asked.isEmpty());
    EXPECT_TRUE(log.contains("is text"));
    go(kToolKit);
    page.activateWindow();
    library->categoryViewCtr().outlineView()->setFocus();
    QCoreApplication::processEvents();
    ASSERT_TRUE(library->isListFocused());
    library->deleteItems();
    EXPECT_EQ(rowsInDatabase(), 1);
}

TEST_F(LibraryCtrTest, WeedsTheShownListAndBringsItBack) {
    fill({"One", "Two", "Three", "Four"});
    go(kAllMusic);
    const SongArray all = *library->listViewCtr().songArray();
    all[0]->setIsImported(true);
    all[2]->setIsAds(false);
    all[3]->setLength(60'001);
    search.setText("o"); // "Three" is not among the found
    ASSERT_TRUE(filter.isEnabled());
    TagField &album = *library->editCtr().id3ViewCtr().field("album");
    album.selectAll();
    album.insert("Quay");
    filter.click();
    EXPECT_EQ(library->getSelectedItem()->album(), "Quay") << "what stands in the field goes in first";
    FilterView &view = *library->filterAdsController()->view();
    view.findChild<QComboBox *>()->setCurrentIndex(4);
    search.setText("");
    library->addNewRecordingSong(song("Came meanwhile"));
    buttonOf(view, "Remove").click();
    EXPECT_EQ(shown(), QStringList({"Came meanwhile", "Three", "Four"}));
    EXPECT_EQ(table().selectedRowIndexes(), QList<int>{0});
    EXPECT_EQ(rowsInDatabase(), 3);
    EXPECT_TRUE(QFile::exists(all[0]->songPath())); // somebody else's
    EXPECT_FALSE(QFile::exists(all[1]->songPath()));
    buttonOf(view, "Undo").click();
    EXPECT_EQ(shown(), QStringList({"Came meanwhile", "One", "Two", "Three", "Four"}));
    EXPECT_EQ(rowsInDatabase(), 5);
    EXPECT_TRUE(QFile::exists(all[1]->songPath()));
    for (const auto stored = DataBaseManager::defaultManager().getAllSongItems(); const SongPtr &row : *stored)
        EXPECT_EQ(row->isAds(), row->title() != "Three") << qPrintable(row->title());
}
