// The tag editor: what may be typed, what is reported, and what becomes a cover.
#include "demo/RunningProgram.h"
#include "support/Gestures.h"
#include "support/MadePictures.h"
#include "support/NoRoomOnDisk.h"
#include "views/controls/SketchButton.h"
#include "views/library/ID3ViewCtr.h"
#include "views/library/TagField.h"
#include "views/pictures/ThumbnailComposer.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QSemaphore>
#include <QThreadPool>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// A header that promises so many points, and none of them.
std::string bitmapHeader(uint32_t width, uint32_t height) {
    std::string header("BM\x36\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0", 18);
    for (const uint32_t side : {width, height})
        header.append(reinterpret_cast<const char *>(&side), sizeof side);
    return header + std::string("\1\0\x18\0", 4) + std::string(24, '\0');
}

struct TagEditor : testing::Test, ID3ViewCtrDelegate {
    ID3ViewCtr editor{*this};
    SongPtr song = std::make_shared<SongItem>();
    QList<QVariantMap> reports;
    QStringList refusals;
    int timesLeft = 0;

    TagEditor() {
        song->setTitle("Glass Hill");
        song->setYear("2019");
        song->setGenre("Folk");
        editor.view()->resize(187, 501);
        editor.view()->show();
        editor.view()->activateWindow();
    }
    void id3DataDidChange(const SongPtr &, const QVariantMap &changes) override { reports << changes; }
    void coverWasRefused(const QString &reason) override { refusals << reason; }
    void editorWasLeft() override { ++timesLeft; }

    TagField &field(const char *key) { return *editor.field(key); }
    void enter(const char *key, const QString &text) {
        field(key).selectAll();
        field(key).insert(text);
        press(field(key), Qt::Key_Return);
    }
    bool drop(const QString &path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        return editor.dragFile(*editor.imageBrowser(), data);
    }
    bool choose(const QString &path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        return editor.takeCover(data);
    }
};

} // namespace

TEST(TagFormatters, CutWhatIsInsertedAndKeepTheTail) {
    const QString full(255, 'x');
    const QString room = "head" + QString(241, 'x') + "tail"; // six less than the most
    for (const auto &[name, isNumber, former, selected, inserted, result] :
         std::initializer_list<std::tuple<const char *, bool, QString, TextRange, QString, QString>>{
             {"a fifth digit at the end", true, "2019", {4, 0}, "0", "2019"},
             {"a fifth digit in the middle", true, "2019", {2, 0}, "5", "2019"},
             {"a digit of another script", true, "20", {2, 0}, QString(QChar(0x0661)), "20"},
             {"one too many at the end", false, room, {249, 0}, "1234567", room},
             {"too many in the middle", false, room, {4, 0}, "123456789", "head123456" + room.mid(4)},
             {"in place of a part", false, full, {0, 5}, "123456789", "12345" + full.mid(5)},
             {"half an emoji", false, full, {0, 5}, "1234" + QString("😀"), "1234" + full.mid(5)},
         }) {
        TagField edited(isNumber ? std::make_unique<NumberFormatter>() : std::make_unique<NSStringFormatter>());
        edited.setValue(former);
        edited.setSelection(static_cast<int>(selected.location), static_cast<int>(selected.length));
        edited.insert(inserted);
        EXPECT_EQ(edited.text(), result) << name;
    }
}

TEST_F(TagEditor, ReportsWhatTheUserEnds) {
    editor.setSongItem(song);
    for (const auto &[key, typed, report] : std::initializer_list<std::tuple<const char *, QString, QVariantMap>>{
             {"title", "  Morning Line\t", {{"title", "Morning Line"}}},
             {"title", "Morning Line", {}},
             {"title", "   ", {{"title", ""}}},
             {"title", "Glass\n\tHill" + QString(QChar(0)) + "\u2028x", {{"title", "Glass  Hill  x"}}},
             {"artist", "坂本 😀 Ömer", {{"artist", "坂本 😀 Ömer"}}},
             {"year", "0199", {{"year", "199"}}},
             {"year", "", {{"year", ""}}},
             {"genre", "Folk", {{"genre", "Folk"}}}, // compared with the year
             {"genre", "", {}},
         }) {
        reports.clear();
        enter(key, typed);
        EXPECT_EQ(reports, report.isEmpty() ? QList<QVariantMap>() : QList<QVariantMap>{report})
            << key << ' ' << qPrintable(typed);
    }
}

TEST_F(TagEditor, PutsTheOldValueBackAndIsLeftByEscape) {
    editor.setSongItem(song);
    press(field("title"), Qt::Key_unknown, {}, "new ");
    press(field("title"), Qt::Key_Escape);
    EXPECT_EQ(field("title").text(), "Glass Hill");
    EXPECT_EQ(timesLeft, 0);
    press(field("title"), Qt::Key_Escape);
    EXPECT_EQ(timesLeft, 1);
    enter("title", "Wren");
    EXPECT_TRUE(field("title").isUndoAvailable());
    const auto other = std::make_shared<SongItem>(*song);
    editor.setSongItem(other);
    EXPECT_EQ(field("title").text(), "Wren");
    EXPECT_FALSE(field("title").isUndoAvailable()) << "of another track";
}

TEST_F(TagEditor, IsOffWhileSomebodyIdentifiesTheTrack) {
    for (const int status : {0, 1, 2, 3, 4, 5, 6}) {
        song->setGetID3Status(status);
        editor.setSongItem(song);
        const bool isOn = status == 0 || status == 3 || status == 6;
        EXPECT_EQ(editor.isEditable(), isOn) << status;
        EXPECT_EQ(field("genre").isReadOnly(), !isOn);
        EXPECT_EQ(editor.rightButton()->isEnabled(), isOn);
    }
}

TEST_F(TagEditor, StepsThroughTheCovers) {
    song->setCoverImages({makePicture("1.png"), makePicture("2.png")});
    EXPECT_EQ(QAccessible::queryAccessibleInterface(editor.imageBrowser())->role(), QAccessible::Graphic);
    for (const auto &[hasLocal, steps, index, shown, reported] :
         std::initializer_list<std::tuple<bool, int, int, const char *, qsizetype>>{
             {false, 0, -1, "r", 0},
             {false, 1, 0, "lr", 1},
             {false, 2, 1, "lr", 2},
             {false, 3, 1, "l", 2}, // the cell for adding one is no choice
             {false, 4, 1, "l", 2},
             {true, 3, 1, "l", 2}}) {
        SCOPED_TRACE(steps);
        reports.clear();
        song->setIsHasLocalCover(hasLocal);
        song->setCoverImageIndex(-1);
        editor.setSongItem(song);
        for (int i = 0; i < steps; ++i)
            press(*editor.imageBrowser(), Qt::Key_Right);
        EXPECT_EQ(song->coverImageIndex(), index);
        EXPECT_EQ(!editor.leftButton()->isHidden(), QString(shown).contains('l'));
        EXPECT_EQ(!editor.rightButton()->isHidden(), QString(shown).contains('r'));
        EXPECT_EQ(reports.size(), reported);
    }
    editor.leftButtonClicked();
    EXPECT_EQ(reports.last(), QVariantMap({{"coverindex", 0}}));
}

TEST_F(TagEditor, TakesADroppedCoverOnTheLastCellOnly) {
    const QString fetched = makePicture("fetched.png");
    song->setCoverImages({fetched});
    song->setCoverImageIndex(0);
    editor.setSongItem(song);
    EXPECT_FALSE(drop(makePicture("own.png")));
    editor.rightButtonClicked();
    EXPECT_TRUE(drop(makePicture("own.png")));
    const QString first = song->coverImages().value(1);
    EXPECT_TRUE(song->isHasLocalCover());
    EXPECT_EQ(reports.last(), QVariantMap({{"coverindex", 1}, {"cover", QStringList{fetched, first}}}));
    EXPECT_TRUE(drop(makePicture("other.png")));
    EXPECT_EQ(song->coverImages().size(), 2);
    EXPECT_NE(song->coverImages().last(), first);
}

TEST_F(TagEditor, TakesWhatAnotherProgramOffersFromAnyCell) {
    song->setIsHasLocalCover(true); // whose file has gone
    editor.setSongItem(song);
    QApplication::clipboard()->setImage(pictureOf(Qt::blue, {900, 300}));
    press(*editor.imageBrowser(), Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(song->coverImages().size(), 1);
    EXPECT_EQ(QImage(song->coverImages().at(0)).size(), QSize(600, 200));
    QMimeData fromBrowser;
    fromBrowser.setUrls({QUrl("https://localhost/p.png")});
    EXPECT_FALSE(editor.takeCover(fromBrowser));
    fromBrowser.setData("image/png", QByteArray::fromStdString(bytesOf(makePicture("p.png"))));
    EXPECT_TRUE(editor.takeCover(fromBrowser));
    EXPECT_EQ(QImage(song->coverImages().at(0)).size(), QSize(20, 10));
}

TEST_F(TagEditor, RefusesWhatCanBeNoCoverAndSaysWhy) {
    const QString pipe = inHome("pipe.png");
    ASSERT_EQ(mkfifo(pipe.toUtf8().constData(), 0600), 0);
    const std::string whole = bytesOf(makePicture("whole.png"));
    editor.setSongItem(song);
    editor.rightButtonClicked();
    for (const QString &path :
         {pipe, inHome("missing.png"), QDir::homePath(), QString("/dev/zero"), makeFile("text.png", "no picture"),
          makeFile("empty.jpg", ""), makeFile("zero.bmp", bitmapHeader(0, 0)),
          makeFile("bomb.bmp", bitmapHeader(60'000, 60'000)), makeFile("broken.png", whole.substr(0, 40)),
          makeFile("drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>")}) {
        SCOPED_TRACE(path.toStdString());
        refusals.clear();
        EXPECT_FALSE(drop(path));
        EXPECT_EQ(refusals.size(), 1);
    }
    EXPECT_TRUE(reports.isEmpty() && song->coverImages().isEmpty() && !song->isHasLocalCover());
    EXPECT_EQ(editor.imageBrowser()->shownImagePath(1), "SelectCoverPictureHighlight.png");
}

TEST_F(TagEditor, GivesALargePictureToTheTrackThatItWasDroppedOn) {
    QImage large(10'000, 9'000, QImage::Format_Grayscale8);
    large.fill(7);
    ASSERT_TRUE(large.save(inHome("large.png"), nullptr, 100));
    editor.setSongItem(song);
    editor.rightButtonClicked();
    EXPECT_TRUE(drop(inHome("large.png")));
    editor.setSongItem(std::make_shared<SongItem>());
    EXPECT_TRUE(waitUntil([this] { return !song->coverImages().isEmpty(); }));
    EXPECT_EQ(song->coverImageIndex(), 0);
    EXPECT_EQ(reports.size(), 1);
    EXPECT_EQ(editor.coverImages().size(), 2) << "of the track that is shown now";
}

TEST_F(TagEditor, FinishesSlowPicturesAndKeepsTheOneDroppedLast) {
    QThreadPool &readers = *QThreadPool::globalInstance();
    readers.setMaxThreadCount(1);
    QSemaphore isFree;
    const auto chooseSlowly = [&](const QString &path) {
        readers.start([&isFree] { isFree.acquire(); });
        EXPECT_TRUE(choose(path));
        isFree.release();
    };
    song->setCoverImages({makePicture("fetched.png")});
    song->setCoverImageIndex(0);
    editor.setSongItem(song);
    chooseSlowly(makeFile("broken.png", "no picture"));
    editor.finishCovers();
    EXPECT_EQ(refusals.size(), 1);
    EXPECT_EQ(editor.imageBrowser()->visibleItemIndex(), 1) << "where it was before";
    chooseSlowly(makePicture("slow.png", Qt::red, {40, 40}));
    readers.waitForDone();
    EXPECT_TRUE(choose(makePicture("quick.png")));
    QCoreApplication::processEvents();
    EXPECT_EQ(QImage(song->coverImages().value(1)).size(), QSize(20, 10));
    chooseSlowly(inHome("slow.png"));
    editor.finishCovers();
    EXPECT_EQ(QImage(song->coverImages().value(1)).size(), QSize(40, 40));
}

TEST(ThumbnailComposer, DrawsNoHalfPictureAndNoneAThousandTimes) {
    ASSERT_EQ(system("cd && convert -size 40x30 plasma: -interlace JPEG drawn.jpg"), 0);
    std::string drawn = bytesOf(inHome("drawn.jpg"));
    EXPECT_FALSE(ThumbnailComposer::prepareThumbnailWithImage(inHome("drawn.jpg"), {600, 600}).isNull());
    drawn.resize(drawn.size() - 2);
    EXPECT_TRUE(ThumbnailComposer::prepareThumbnailWithImage(makeFile("cut.jpg", drawn), {600, 600}).isNull());
    const std::string scan = drawn.substr(drawn.rfind("\xff\xda"));
    for (int i = 0; i < 1000; ++i)
        drawn += scan;
    PictureTrouble trouble = PictureTrouble::None;
    EXPECT_TRUE(
        ThumbnailComposer::prepareThumbnailWithImage(makeFile("bomb.jpg", drawn + "\xff\xd9"), {600, 600}, &trouble)
            .isNull());
    EXPECT_EQ(trouble, PictureTrouble::Broken);
    const QByteArray head =
        QByteArray::fromHex("89504e470d0a1a0a0000000d494844520000271000002328100200000079da88e00000006349444154");
    const QString deep = makeFile("deep.png", head.toStdString()); // 10,000 by 9,000 of 16 bits
    EXPECT_EQ(ThumbnailComposer::prepareThumbnailWithImage(deep, {600, 600}, &trouble), QString());
    EXPECT_EQ(trouble, PictureTrouble::TooDeep);
}

TEST(ThumbnailComposer, LeavesNothingOnAFullDisk) {
    const QString small = makePicture("small.png");
    const QString made = ThumbnailComposer::prepareThumbnailWithImage(small, {600, 600});
    const NoRoomOnDisk noRoom;
    PictureTrouble trouble = PictureTrouble::None;
    EXPECT_EQ(ThumbnailComposer::prepareThumbnailWithImage(small, {600, 600}, &trouble), QString());
    EXPECT_EQ(trouble, PictureTrouble::NoRoom);
    EXPECT_EQ(QFileInfo(made).dir().entryList(QDir::Files).size(), 1);
}

TEST(ThumbnailComposer, KeepsTheProportions) {
    const auto copyOf = [](const QString &path) {
        return QImage(ThumbnailComposer::prepareThumbnailWithImage(path, {600, 600}));
    };
    EXPECT_EQ(copyOf(makePicture("small.png", Qt::red, {300, 200})).size(), QSize(300, 200));
    EXPECT_EQ(copyOf(makePicture("wide.jpg", Qt::red, {1200, 600})).size(), QSize(600, 300));
    EXPECT_EQ(copyOf(makePicture("thread.webp", Qt::red, {1500, 1})).size(), QSize(600, 1));
    // Four colours of print, and a picture that moves.
    for (const char *kind : {"-colorspace CMYK print.jpg", "xc:blue -loop 0 moving.gif"}) {
        ASSERT_EQ(system(("cd && convert -size 40x30 xc:red " + std::string(kind)).c_str()), 0);
        const QImage copy = copyOf(inHome(QString(kind).section(' ', -1)));
        EXPECT_EQ(copy.size(), QSize(40, 30));
        EXPECT_GT(copy.pixelColor(5, 5).red(), 180);
    }
}
